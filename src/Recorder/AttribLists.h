// Attribute lists of EGL, which come with values of 32 bits and of 64.
#pragma once

#include <type_traits>
#include <vector>

#include "Recorder/Calls/CallRecord.h"

namespace Recorder {

/// A list of the program's with values as wide as the recorded call takes them. Borrows the list where it fits.
template <class Value> class AttribList {
public:
    template <class From> explicit AttribList(const From* attribs)
    {
        if constexpr (std::is_same_v<Value, From>) {
            m_list = attribs;
        } else if (attribs != nullptr) {
            const auto count = static_cast<std::size_t>(AttribBytes(attribs) / sizeof(From));
            m_converted.reserve(count);
            for (std::size_t i = 0; i < count; ++i)
                m_converted.push_back(static_cast<Value>(attribs[i]));
            m_list = m_converted.data();
        }
    }
    AttribList(const AttribList&) = delete;
    AttribList& operator=(const AttribList&) = delete;

    [[nodiscard]] const Value* Get() const { return m_list; }

private:
    std::vector<Value> m_converted;
    const Value* m_list = nullptr;
};

} // namespace Recorder
