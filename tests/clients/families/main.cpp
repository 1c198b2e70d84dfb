// families NAME [--pbuffer | --surfaceless]: draws the frames of one family of features, in a window or off screen.

#include <cstdio>
#include <cstring>

#include "Drawing.h"
#include "Families.h"

namespace {

constexpr int Size = 256;

constexpr struct {
    const char* name;
    void (*run)(Stage& stage);
} families[] = {
    {"buffer-maps", BufferMaps},
    {"client-arrays", ClientArrays},
    {"compute", Compute},
    {"debug-labels", DebugLabels},
    {"headless", Headless},
    {"images", Images},
    {"made-up-names", MadeUpNames},
    {"multisample", Multisample},
    {"persistent-maps", PersistentMaps},
    {"pipelines", Pipelines},
    {"pixel-buffers", PixelBuffers},
    {"program-binaries", ProgramBinaries},
    {"queries", Queries},
    {"robustness", Robustness},
    {"samplers", Samplers},
    {"shared-maps", SharedMaps},
    {"surfaceless", Surfaceless},
    {"surfaces", Surfaces},
    {"textures", Textures},
    {"threads", Threads},
    {"transform-feedback", TransformFeedback},
    {"uniform-buffers", UniformBuffers},
    {"vertex-arrays", VertexArrays},
};

} // namespace

void Quarter(int index)
{
    glViewport(index % 2 * Size / 2, index / 2 * Size / 2, Size / 2, Size / 2);
}

void ExpectNoErrors(const char* where)
{
    if (const GLenum error = glGetError(); error != GL_NO_ERROR) {
        std::fprintf(stderr, "GL error 0x%x\n", error);
        Stage::Fail(where);
    }
}

void EndFrame(Stage& stage)
{
    ExpectNoErrors("drawing");
    stage.Swap();
}

int main(int argc, char** argv)
{
    const char* const option = argc == 3 ? argv[2] : "";
    const bool isPbuffer = std::strcmp(option, "--pbuffer") == 0;
    const bool isSurfaceless = std::strcmp(option, "--surfaceless") == 0;
    for (const auto& family : families) {
        if ((argc == 2 || isPbuffer || isSurfaceless) && std::strcmp(argv[1], family.name) == 0) {
            Stage stage(isPbuffer       ? Stage::Kind::Pbuffer
                        : isSurfaceless ? Stage::Kind::Surfaceless
                                        : Stage::Kind::Window,
                        Size, Size, 3);
            family.run(stage);
            return 0;
        }
    }
    std::fprintf(stderr, "usage: families NAME [--pbuffer | --surfaceless]\nNames:");
    for (const auto& family : families) {
        std::fprintf(stderr, " %s", family.name);
    }
    std::fprintf(stderr, "\n");
    return 2;
}
