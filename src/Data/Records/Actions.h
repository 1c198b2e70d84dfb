// The calls that change what is drawn, and the numbers by which people name them.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Data/CallIds.h"
#include "Data/Records/CallArguments.h"

namespace Data {

enum class ActionKind : std::uint8_t { None, Draw, Clear, Blit, Dispatch, Copy, Mipmap };

[[nodiscard]] ActionKind ActionOf(CallId call);
/// "draw", "clear" ...
[[nodiscard]] const char* NameOf(ActionKind kind);

/// The place of an action in its frame. Draws and framebuffer blits count from 1, as -screenshots F:A-B counts them;
/// what lies between two of them counts from the one in front: "12" is the twelfth draw, "12.1" the first clear, copy
/// or dispatch after it, and "0.1" one before the first draw.
struct ActionNumber {
    std::uint32_t draw = 0;
    std::uint32_t after = 0;

    auto operator<=>(const ActionNumber&) const = default;
    [[nodiscard]] std::string Text() const;
    /// Nothing for another text.
    [[nodiscard]] static std::optional<ActionNumber> Parse(std::string_view text);
};

/// Numbers the actions of a capture.
class ActionCounter {
public:
    void BeginFrame() { m_number = {}; }
    /// To be told of each call. The number of the action, nothing for other calls.
    std::optional<ActionNumber> Count(CallId call);
    /// Of the last action; 0 before the first one of the frame.
    [[nodiscard]] ActionNumber Last() const { return m_number; }

private:
    ActionNumber m_number;
};

/// Is told of each action of a replay.
class ActionHandler {
public:
    virtual ~ActionHandler() = default;
    /// Right after the call was replayed. `frame` counts from 1.
    virtual void ProcessAction(std::uint32_t frame, ActionNumber number, const CallArguments& call) = 0;
};

} // namespace Data
