#pragma once

#include <cstdint>
#include <map>
#include <string_view>

#include "Interfaces/Core.h"
#include "Interfaces/GLAdapter.h"
#include "Interfaces/Util.h"
#include "Playback/Names/GLResourceTable.h"

namespace Playback {

class PlaybackEnvironment;

/// Replays captured OpenGL ES calls on the live driver.
///
/// Each handler traces the call, looks up the live function (a missing one skips the call), translates captured names
/// and locations, calls, checks the error state and tells the resource table what the call made or deleted. Handlers
/// that follow from the description of a call are generated; the others are in GLPlaybackObjects.cpp (names, labels,
/// images) and GLPlaybackQueries.cpp (mapped memory, uploads, output sizes).
///
/// Keeps no state of its own. Calls go to the context that the EGL adapter made current. Replay thread only.
class GLPlaybackAdapter : public Data::GLAdapter {
public:
    /// Loads the core function table. The table of names outlives the adapter.
    explicit GLPlaybackAdapter(GLResourceTable* table);
    /// Frees the function tables.
    ~GLPlaybackAdapter() override;
    GLPlaybackAdapter(const GLPlaybackAdapter&) = delete;
    GLPlaybackAdapter& operator=(const GLPlaybackAdapter&) = delete;

    /// Attaches what takes a picture after each draw and blit of the selected frame; null for none. Not owned.
    void SetScreenshotHandler(Util::GLScreenshotHandler* handler) { m_screenshotHandler = handler; }
    /// How often each error was reported so far.
    [[nodiscard]] const std::map<unsigned int, std::uint64_t>& ErrorCounts() const { return m_errorCounts; }

    /// Nothing to do: the EGL adapter switches contexts.
    void SetCurrentThread(std::uint32_t) override {}
    void ProcessVertexAttribData(std::uint32_t index, std::int32_t size, std::uint32_t type, std::uint32_t normalized,
                                 std::int32_t stride, std::uint8_t* data, std::uint32_t first,
                                 std::uint32_t count) override;
    void ProcessVertexAttribIData(std::uint32_t index, std::int32_t size, std::uint32_t type, std::int32_t stride,
                                  std::uint8_t* data, std::uint32_t first, std::uint32_t count) override;
    void ProcessFlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, std::uint32_t length,
                                       std::uint8_t* data) override;
    void ProcessUnmapBuffer(std::uint32_t target, std::uint32_t length, std::uint8_t* data) override;

#include "Playback/GLPlaybackDeclarations.inc"

private:
    static void Trace(const char* name, int line)
    {
        if (Core::Log::IsEnabled(Core::LogTrace, Core::ZoneCallTrace))
            Core::Log::Print(Core::LogTrace, Core::ZoneCallTrace, line, SourceFile, true, "%s", name);
    }

    /// Reports one pending error against the call just replayed, unless error checks are off.
    void CheckErrorState(std::string_view name);

    /// Gives an output string or array room for what the live driver may write. Null arguments stay null, and offsets
    /// into a bound buffer stay offsets.
    static void SizeString(Data::PointerData* output, std::int32_t length);
    static void SizeArray(Data::PointerData* output, std::int32_t count);
    static void GrowArray(Data::PointerData* output, std::int32_t count);
    /// Grows the output of a get call whose number of values is a value of this driver.
    static void EnsurePnameArraySize(std::uint32_t pname, Data::PointerData* output);
    static void EnsureActiveUniformBlockPnameArraySize(std::uint32_t program, std::uint32_t blockIndex,
                                                       std::uint32_t pname, Data::PointerData* output);
    static void EnsureInternalFormatPnameArraySize(std::uint32_t target, std::uint32_t internalFormat,
                                                   std::uint32_t pname, Data::PointerData* output);

    /// Live name of an object that a debug label is for, by the debug-label extension's identifiers; 0 for others.
    std::uint32_t GetLabeledObject(std::uint32_t identifier, std::uint32_t name) const;
    std::uint32_t GetTextureOrRenderbuffer(std::uint32_t target, std::uint32_t name) const;
    /// Links the object bound to `target` to the captured image and releases the image that it had.
    void PostGlEglImage(std::uint32_t target, std::uint32_t image);
    /// Records a location of a uniform; locations of other interfaces are not translated.
    void ProcessProgramResourceLocation(std::uint32_t program, std::int32_t captured, std::int32_t live,
                                        std::uint32_t programInterface);

    /// Count the event and take its picture if it is selected.
    void PostDrawCommon();
    void PostBlitFrameBuffer(std::uint32_t mask);
    /// True when this draw or blit of the current frame is to be saved.
    bool IsEventSelected() const;

    static constexpr const char* SourceFile = "src/Playback/GLPlaybackAdapter";

    GLResourceTable* m_resourceTable;
    Util::GLScreenshotHandler* m_screenshotHandler = nullptr;
    std::map<unsigned int, std::uint64_t> m_errorCounts;
    const PlaybackEnvironment* m_settings;
};

} // namespace Playback
