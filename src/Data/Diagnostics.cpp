#include "Data/Diagnostics.h"

#include <cinttypes>
#include <cstdio>

namespace Data {

namespace {

/// Lines about skipped calls that are printed.
constexpr std::uint64_t MaxPrinted = 20;

} // namespace

std::string Bytes(std::uint64_t count)
{
    return std::to_string(count) + " bytes";
}

Diagnostics::Diagnostics(std::string file, Report report) : m_file(std::move(file)), m_report(std::move(report)) {}

void Diagnostics::File(const std::string& text)
{
    if (m_report)
        m_report(m_file + ": " + text);
}

void Diagnostics::Skipped(const char* name, const std::string& what, const std::string& expected,
                          const std::string& found)
{
    if (++m_skipped <= MaxPrinted)
        Call(name, what, expected, found, "call skipped");
}

void Diagnostics::TooSmall(const char* name, const RecordView& view, std::uint64_t expected)
{
    Skipped(name, "the record", Bytes(expected), Bytes(view.Header().bytes));
}

void Diagnostics::Changed(const char* name, const std::string& what, const std::string& expected,
                          const std::string& found)
{
    if (!m_isChangeSaid)
        Call(name, what, expected, found, "call replayed with what was found");
    m_isChangeSaid = true;
}

void Diagnostics::Call(const char* name, const std::string& what, const std::string& expected, const std::string& found,
                       const char* outcome)
{
    char where[96];
    std::snprintf(where, sizeof where, "offset 0x%" PRIx64 "+0x%x, frame %u, call %u ", position.chunkOffset,
                  position.recordOffset, position.frame + 1, position.call);
    File(where + std::string(name) + ": " + what + ": expected " + expected + ", found " + found + "; " + outcome);
}

void Diagnostics::Summary()
{
    if (m_skipped > MaxPrinted)
        File(std::to_string(m_skipped) + " calls were skipped, " + std::to_string(m_skipped - MaxPrinted) +
             " of them without a message");
}

} // namespace Data
