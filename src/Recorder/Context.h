// A recorded EGL context.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <utility>

#include "Data/State/ContextState.h"
#include "Recorder/Capture.h"
#include "Recorder/Names.h"
#include "Recorder/Platform.h"

namespace Recorder {

/// What the contexts of a share group have in common.
struct ShareGroup : Data::ShareGroupState {
    /// Of the kinds that are shared.
    std::array<NameSet, Data::objectKinds> names;
};

/// What the library remembers of a context: the state that says how much memory lies behind the program's pointers.
/// Used by the thread on which the context is current; the state is changed, and what it shares with other contexts
/// is read, under the capture's lock.
class Context {
public:
    Context(EGLContext itsName, std::shared_ptr<ShareGroup> itsGroup)
        : name(itsName), group(std::move(itsGroup)), m_state(group)
    {
    }

    /// The program's handle.
    const EGLContext name;
    const std::shared_ptr<ShareGroup> group;
    /// The one that the context was created with.
    EGLConfig config = EGL_NO_CONFIG_KHR;

    [[nodiscard]] Data::ContextState& State() { return m_state; }
    /// The names that a replay knows.
    [[nodiscard]] NameSet& Names(Data::ObjectKind kind)
    {
        const auto index = static_cast<std::size_t>(kind);
        const bool isShared = Data::objectDescriptions[index].owner == Data::ObjectOwner::Group;
        return isShared ? group->names[index] : m_names[index];
    }

    /// Changes the state. Without memory for that the capture can only go wrong from here on, so it stops.
    template <class Change> void Track(const Capturing& capturing, Change change) noexcept
    {
        try {
            change(m_state);
        } catch (...) {
            AbandonCapture(capturing);
        }
    }

    /// The buffer bound to `target` was mapped. A replay remembers one mapping for writing for each target.
    void SetMappingInReplay(std::uint32_t target, bool forWriting)
    {
        m_mappedInReplay[target] = forWriting ? m_state.BoundBuffer(target) : 0;
    }
    /// True when a replay knows of the mapping of the buffer bound to `target`.
    [[nodiscard]] bool IsMappingInReplay(std::uint32_t target) const
    {
        const auto mapped = m_mappedInReplay.find(target);
        return mapped != m_mappedInReplay.end() && mapped->second == m_state.BoundBuffer(target);
    }
    /// The same when that buffer is unmapped: the replay knows no longer.
    [[nodiscard]] bool TakeMappingInReplay(std::uint32_t target)
    {
        return IsMappingInReplay(target) && m_mappedInReplay.erase(target) > 0;
    }

    /// What stands for the missing surface when this context is made current without one: an address that no surface
    /// of the driver's has.
    [[nodiscard]] void* Placeholder() { return &m_placeholder; }
    /// True once.
    [[nodiscard]] bool TakePlaceholderCreation() { return !std::exchange(m_placeholder, true); }

    /// A call that draws is on its way.
    void NoteDrawing()
    {
        if (!m_isDrawingNoted) [[unlikely]]
            OpenFrame();
    }
    /// The window that was drawn to may have another size from here on.
    void NoteSwap()
    {
        m_isDrawingNoted = false;
        m_mayHaveNewSize = true;
    }
    /// Something was drawn in this frame, and to the framebuffer that is bound now.
    [[nodiscard]] bool HasDrawn() const { return m_hasDrawn; }
    [[nodiscard]] bool HasDrawnToBound() const { return m_hasDrawnToBound; }
    /// The framebuffer that was drawn to last, where it is not the one that is bound now.
    [[nodiscard]] std::uint32_t DrawnFramebuffer() const { return m_drawnFramebuffer; }
    void SetDrawnFramebuffer(std::uint32_t framebuffer)
    {
        m_drawnFramebuffer = framebuffer;
        m_hasDrawnToBound = m_isDrawingNoted = false;
    }
    /// What comes now is another frame.
    void StartFrame();

    /// The extensions as glGetStringi counts them; the driver is asked once. They live as long as the program.
    [[nodiscard]] std::span<const char* const> Extensions() noexcept;

    /// Keeps an error of the driver that the program has not asked for yet, since the library is about to lose it.
    void KeepErrors();
    /// GL_NO_ERROR where none is kept.
    [[nodiscard]] GLenum TakeError() { return std::exchange(m_keptError, GL_NO_ERROR); }

private:
    void OpenFrame();

    Data::ContextState m_state;
    std::array<NameSet, Data::objectKinds> m_names;
    std::map<std::uint32_t, std::uint32_t> m_mappedInReplay;
    bool m_placeholder = false;
    bool m_hasDrawn = false;
    bool m_hasDrawnToBound = false;
    /// All that a call that draws has to be told of is known.
    bool m_isDrawingNoted = false;
    bool m_mayHaveNewSize = false;
    std::uint32_t m_drawnFramebuffer = 0;
    GLenum m_keptError = GL_NO_ERROR;
    std::span<const char* const> m_extensions;
};

/// Values that parameter `pname` of the current context has. Asks the driver for the lists whose length only it knows.
[[nodiscard]] std::int64_t ParameterElements(std::uint32_t pname) noexcept;

} // namespace Recorder
