#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "Data/Records/CallParameters.h"
#include "Recording.h"

namespace Mutate {

/// Changes recordings in ways that the reader has to see through: fields, names, enums, sizes, contents, the order of
/// the records, records of other captures and threads. The same seed makes the same mutant of the same captures.
class Mutator {
public:
    /// `captures` must outlive the mutator.
    Mutator(const std::vector<Recording>& captures, std::uint64_t seed);

    /// The capture that this seed changes, and the changed one.
    [[nodiscard]] const Recording& Original() const { return m_captures[m_chosen]; }
    Recording Mutant();
    /// A number below `end`, for what else depends on the seed.
    std::uint64_t Below(std::uint64_t end) { return m_random() % end; }

private:
    void Change(std::vector<Record>& records);
    void ChangeParameter(Record& record);
    void ChangeSlot(Record& record, const Data::ParameterDescription& parameter);
    void ChangeContents(Record& record, const Data::PointerSlot& slot);
    void ChangeWord(Record& record);
    void Rename(std::vector<Record>& records);
    void ChangeOrder(std::vector<Record>& records);
    void ChangeThread(std::vector<Record>& records);
    /// A value for a field that holds `old` now.
    std::uint64_t Value(std::uint32_t call, std::size_t at, std::uint64_t old);
    /// Any record of any capture; of `call`, if there is one.
    const Record& Stranger(std::uint32_t call);

    const std::vector<Recording>& m_captures;
    std::mt19937_64 m_random;
    std::size_t m_chosen;
};

} // namespace Mutate
