#include "Host/Results/ExtractTextures.h"

#include "Playback/PlaybackSettings.h"
#include "Textures/TextureFiles.h"

namespace Host {

Util::Outcome ExtractTextures(const std::string& captureFile, std::uint32_t lastFrame,
                              const std::function<void(const std::string&)>& say)
{
    const Playback::PlaybackEnvironment& settings = *Playback::PlaybackEnvironment::Instance();
    std::string error;
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(captureFile, error);
    if (!source)
        return Util::Failure{Util::ExitStatus::Unreadable, error};
    Textures::TextureFiles files(settings.m_screenshotPath,
                                 static_cast<Util::ImageFormat>(settings.m_screenshotFormat));
    const std::uint32_t fromBuffers =
        Textures::ReadUploads(*source, lastFrame, [&](const Textures::Upload& upload) { files.Write(upload); });
    if (!files.Error().empty())
        return Util::Failure{Util::ExitStatus::NotWritten, "cannot write a texture, " + files.Error()};
    say("Wrote the textures of " + std::to_string(files.Written()) + " uploads to " + settings.m_screenshotPath +
        "frame...");
    if (fromBuffers != 0)
        say(std::to_string(fromBuffers) + " uploads from buffers were left out.");
    return std::nullopt;
}

} // namespace Host
