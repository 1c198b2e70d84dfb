#include "Host/Statistics.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Data/CaptureFile.h"
#include "Playback/EGLStatsAdapter.h"
#include "Playback/GLStatsAdapter.h"
#include "Playback/StatsBin.h"

namespace Host {

std::string Statistics::FileFault(const std::string& captureFile)
{
    const std::string names[] = {captureFile + ".xml", captureFile + "_flat.xml", "stats.txt", "glstats.txt",
                                 "eglstats.txt"};
    for (const std::string& name : names) {
        std::FILE* const file = std::fopen(name.c_str(), "a");
        if (!file) {
            return "cannot write " + name + " for -stats: " + std::strerror(errno);
        }
        std::fclose(file);
    }
    return "";
}

Statistics::Statistics(Data::CaptureFile& capture, const std::string& captureFile)
    : m_store(std::make_unique<Playback::StatsBin>(captureFile)),
      m_glAdapter(std::make_unique<Playback::GLStatsAdapter>(m_store.get())),
      m_eglAdapter(std::make_unique<Playback::EGLStatsAdapter>(m_store.get()))
{
    m_glAdapter->SetCaptureFileName(captureFile);
    m_eglAdapter->SetCaptureFileName(captureFile);
    capture.SetAdapter(m_glAdapter.get());
    capture.SetAdapter(m_eglAdapter.get());
}

Statistics::~Statistics() = default;

std::string Statistics::Report(const std::string& captureFile)
{
    return "Statistics: " + captureFile + ".xml by category, " + captureFile +
           "_flat.xml without; the events line by line: glstats.txt in this folder. -loglevel warning lists the values "
           "that are not counted.";
}

} // namespace Host
