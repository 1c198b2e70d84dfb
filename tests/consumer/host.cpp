// The smallest host: replays a capture off screen.
#include <cstdio>
#include <cstdlib>

#include "Data/Capture/CaptureFile.h"
#include "Playback/Calls/EGLPlaybackAdapter.h"
#include "Playback/Calls/GLPlaybackAdapter.h"
#include "Playback/Controller.h"
#include "Playback/Meta/KHRMetaHandler.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/Surfaces/EGLPbufferSurfaceFactory.h"

int main(int argc, char** argv)
{
    setenv("EGL_PLATFORM", "surfaceless", 1);
    std::string error;
    const auto report = [](const std::string& trouble) { std::fprintf(stderr, "%s\n", trouble.c_str()); };
    const auto capture = Data::CaptureFile::Open(argc > 1 ? argv[1] : "", Data::Preload::No, report, error);
    if (!capture) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    Playback::GLResourceTable table;
    Playback::EGLPbufferSurfaceFactory surfaces;
    Playback::GLPlaybackAdapter gl(&table);
    Playback::EGLPlaybackAdapter egl(&table, nullptr, &surfaces);
    Playback::KHRMetaHandler meta(&table);
    capture->SetAdapter(&gl);
    capture->SetAdapter(&egl);
    capture->Add(&meta);
    Playback::Controller controller(nullptr, capture.get());
    while (controller.Update()) {
    }
    std::printf("%u frames\n", capture->GetCurrentFrame());
}
