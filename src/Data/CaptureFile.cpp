#include "Data/CaptureFile.h"

#include <exception>

namespace Data {

std::unique_ptr<CaptureFile> CaptureFile::Open(const std::string& path, Preload preload, Report report,
                                               std::string& error)
{
    std::unique_ptr<CaptureSource> source = CaptureSource::Open(path, error);
    if (!source)
        return nullptr;
    return std::unique_ptr<CaptureFile>(new CaptureFile(path, std::move(source), preload, std::move(report)));
}

CaptureFile::CaptureFile(const std::string& path, std::unique_ptr<CaptureSource> source, Preload preload, Report report)
    : m_diagnostics(path, std::move(report)), m_source(std::move(source)),
      m_processor(*m_source, preload, m_diagnostics)
{
}

std::vector<std::pair<std::string, std::uint64_t>> CaptureFile::CallCounts() const
{
    std::vector<std::pair<std::string, std::uint64_t>> counts;
    for (std::size_t i = 0; i < m_source->Calls().size(); ++i) {
        if (const std::uint64_t count = m_processor.CallCounts()[i])
            counts.emplace_back(m_source->Calls()[i].name, count);
    }
    return counts;
}

} // namespace Data
