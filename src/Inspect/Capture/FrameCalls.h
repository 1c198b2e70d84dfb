#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Data/Records/Actions.h"
#include "Inspect/Capture/FrameIndex.h"
#include "Inspect/Place.h"

namespace Inspect {

/// A call of a frame; its number is its place in FrameCalls::Calls, counted from 1.
struct CallRow {
    /// "glBindTexture(target=GL_TEXTURE_2D, texture=5)".
    std::string text;
    std::uint32_t thread = 0;
    std::uint32_t context = 0;
    Data::ActionKind kind = Data::ActionKind::None;
    /// Of an action.
    Data::ActionNumber number = {};
};

/// A line of the tree of a frame, in the order in which they stand below one another.
struct TreeNode {
    enum class Kind : std::uint8_t {
        Pass,   ///< a run of actions to one framebuffer
        Group,  ///< between two debug calls of the program
        Marker, ///< a message of the program
        Action,
    };
    Kind kind = Kind::Action;
    std::uint32_t depth = 0;
    /// Of the action, the debug call, or of the first action of a pass.
    std::uint32_t call = 0;
    /// Of a group or a marker.
    std::string text = {};
    /// Of a pass the framebuffer that is drawn to, of an action the program in use; 0 for none.
    std::uint32_t object = 0;
    std::uint32_t context = 0;
};

/// All calls of a frame.
struct FrameCalls {
    std::uint32_t frame = 0;
    std::vector<CallRow> calls;
    std::vector<TreeNode> tree;

    [[nodiscard]] std::uint32_t Count() const { return static_cast<std::uint32_t>(calls.size()); }
    /// False for numbers of no call, too.
    [[nodiscard]] bool IsAction(std::uint32_t call) const
    {
        return call > 0 && call <= calls.size() && calls[call - 1].kind != Data::ActionKind::None;
    }
    /// The last action up to a call; 0 for none.
    [[nodiscard]] std::uint32_t ActionUpTo(std::uint32_t call) const;
    /// The call that a text names: its number in the frame. Nothing when the frame has no such action or call.
    [[nodiscard]] std::optional<std::uint32_t> Find(const PlaceText& place) const;
    /// What there is to be found, for people: "5 actions, the last one 4.1, and 120 calls".
    [[nodiscard]] std::string Extent() const;
    /// "12" of an action, "c345" of another call.
    [[nodiscard]] std::string NameOf(std::uint32_t call) const;
};

/// Opens a capture, or throws RequestError.
std::unique_ptr<Data::CaptureSource> OpenCapture(const std::string& path);

/// Reads a frame; throws RequestError.
std::shared_ptr<const FrameCalls> ReadFrameCalls(const std::string& path, std::uint32_t frame, const ChunkStart& start);

} // namespace Inspect
