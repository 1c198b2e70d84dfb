#include "Data/Capture/CaptureFile.h"

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

std::vector<CaptureFile::CallSum> CaptureFile::CallSums() const
{
    const std::vector<std::uint64_t>& counts = m_processor.CallCounts();
    const std::vector<std::uint64_t>& times = m_processor.CallTimes();
    std::vector<CallSum> sums;
    for (std::size_t i = 0; i < counts.size(); ++i)
        if (counts[i] != 0)
            sums.push_back({m_source->Calls()[i].name, counts[i], times.empty() ? 0 : times[i]});
    return sums;
}

std::string CaptureFile::CallAtWork() const
{
    const auto [id, place] = m_processor.AtWork();
    return place == 0 ? "" : "call " + std::to_string(place) + ", " + m_source->Calls()[id].name;
}

} // namespace Data
