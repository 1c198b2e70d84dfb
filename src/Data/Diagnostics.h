// What the reader has to say about a capture.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Data/Records/RecordView.h"

namespace Data {

/// Receives one line of text for each piece of trouble, without a line end.
using Report = std::function<void(const std::string&)>;

/// "N bytes", for messages.
std::string Bytes(std::uint64_t count);

/// Where replay is in a capture.
struct Position {
    /// Place of the chunk in the file.
    std::uint64_t chunkOffset = 0;
    /// Place of the record in the chunk as it was before compression.
    std::uint32_t recordOffset = 0;
    /// Whole frames replayed so far; the frame at work is the next one.
    std::uint32_t frame = 0;
    /// Calls of this frame so far, the one at work included.
    std::uint32_t call = 0;
};

/// Puts trouble into words that say where, what, expected and found. Prints the first lines of skipped calls and counts
/// the rest, since a capture can hold millions of them.
class Diagnostics {
public:
    Diagnostics(std::string file, Report report);

    /// Trouble with the file as a whole.
    void File(const std::string& text);
    /// A call, or another record, that is not replayed: what about it, what was expected and what was found.
    void Skipped(const char* name, const std::string& what, const std::string& expected, const std::string& found);
    /// One of the structs of the format; false, and said, when the record is smaller.
    template <class Record> bool Read(const char* name, const RecordView& view, Record& record)
    {
        if (view.Read(record))
            return true;
        TooSmall(name, view, sizeof record);
        return false;
    }
    /// Says that a record has less than `expected` bytes.
    void TooSmall(const char* name, const RecordView& view, std::uint64_t expected);
    /// A call that is replayed otherwise than it was captured. Said once.
    void Changed(const char* name, const std::string& what, const std::string& expected, const std::string& found);
    /// Says how many skipped calls were not printed. Once, at the end.
    void Summary();

    [[nodiscard]] const std::string& FileName() const { return m_file; }
    [[nodiscard]] std::uint64_t SkippedCount() const { return m_skipped; }

    /// Kept up to date by whoever walks the capture.
    Position position;

private:
    void Call(const char* name, const std::string& what, const std::string& expected, const std::string& found,
              const char* outcome);

    std::string m_file;
    Report m_report;
    std::uint64_t m_skipped = 0;
    bool m_isChangeSaid = false;
};

} // namespace Data
