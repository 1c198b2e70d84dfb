#include "Host/Results/Statistics.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "Data/Capture/CaptureFile.h"
#include "Playback/Statistics/EGLStatsAdapter.h"
#include "Playback/Statistics/GLStatsAdapter.h"
#include "Playback/Statistics/StatsBin.h"
#include "Util/OutputFile.h"

namespace Host {

namespace {

/// Why the text file cannot be written; empty when it can.
std::string FileFault(const std::string& name)
{
    std::FILE* const file = std::fopen(name.c_str(), "a");
    if (!file)
        return "cannot write " + name + " for -stats: " + std::strerror(errno);
    std::fclose(file);
    return "";
}

} // namespace

std::string Statistics::ReportFault(const std::string& captureFile)
{
    for (const char* ending : {".xml", "_flat.xml"})
        if (Util::OutputFile report(captureFile + ending); !report.Open())
            return "cannot write " + report.Error();
    return "";
}

std::vector<std::string> Statistics::TextFaults()
{
    std::vector<std::string> faults;
    for (const char* name : {"stats.txt", "glstats.txt", "eglstats.txt"})
        if (std::string fault = FileFault(name); !fault.empty())
            faults.push_back(std::move(fault));
    return faults;
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

std::vector<std::string> Statistics::Finish()
{
    std::vector<std::string> errors;
    const auto endText = [&](const char* name, Playback::FeatureLog& log) {
        if (const std::string reason = log.CloseText(); !reason.empty()) {
            if (std::error_code error; std::filesystem::is_regular_file(std::filesystem::symlink_status(name, error)))
                std::filesystem::remove(name, error);
            errors.push_back(std::string(name) + ": " + reason);
        }
    };
    endText("glstats.txt", *m_glAdapter);
    endText("eglstats.txt", *m_eglAdapter);
    // The store's destructor writes them again, which changes nothing.
    m_store->LogXml();
    if (!m_store->ReportError().empty())
        errors.push_back(m_store->ReportError());
    return errors;
}

std::string Statistics::Report(const std::string& captureFile)
{
    return "Statistics: " + captureFile + ".xml by category, " + captureFile +
           "_flat.xml without; the events line by line: glstats.txt in this folder. -loglevel warning lists the values "
           "that are not counted.";
}

} // namespace Host
