#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Data/State/StateModel.h"
#include "Trim/Track/EffectLog.h"
#include "Trim/Track/TrackedObjects.h"

namespace Trim {

using Data::CallArguments;
using Data::ObjectKind;

/// Follows the calls of a capture and logs what each of them does to which slot. A call that it does not know is kept
/// and may depend on everything, so that forgetting one costs size, not truth.
class StateTracker {
public:
    StateTracker() = default;
    StateTracker(const StateTracker&) = delete;
    StateTracker& operator=(const StateTracker&) = delete;

    void SetThread(std::uint32_t thread) { m_state.SetThread(thread); }
    /// Logs the record of a call.
    void Call(const CallArguments& arguments);
    /// Logs the record of a call that was refused or raised an error: one of GL then did nothing.
    void FailedCall(const CallArguments& arguments);
    /// Data that the application wrote to a mapped buffer: `bytes` bytes from `offset` in the mapped range.
    void MappedData(std::uint32_t target, std::uint64_t offset, std::uint64_t bytes);
    /// Contents of a surface that the capture itself restores.
    void RestoredSurface(std::uint32_t surface)
    {
        m_log.Begin();
        Object(SurfaceOwner(surface)).drawn.insert(ImagePlace{});
    }
    /// Any other record.
    void Other(Verdict verdict)
    {
        m_log.Begin();
        m_log.SetVerdict(verdict);
    }

    [[nodiscard]] const EffectLog& Log() const { return m_log; }
    [[nodiscard]] Data::StateModel& Model() { return m_state; }
    [[nodiscard]] ObjectInfo& Object(Owner owner)
    {
        if (owner >= m_objects.size())
            m_objects.resize(owner + 1);
        return m_objects[owner];
    }
    [[nodiscard]] std::uint32_t Thread() const { return m_state.AllContexts().Thread(); }
    /// By captured thread.
    [[nodiscard]] const std::map<std::uint32_t, Current>& Threads() const { return m_threads; }
    /// How each surface that is still there was last made current: thread and what.
    [[nodiscard]] const std::map<std::uint32_t, std::pair<std::uint32_t, Current>>& Surfaces() const
    {
        return m_surfaces;
    }
    [[nodiscard]] bool IsDrawnTo(std::uint32_t surface) { return !Object(SurfaceOwner(surface)).drawn.empty(); }
    /// The slots of what an image holds: colour, depth, stencil.
    [[nodiscard]] std::array<Slot, 3> PixelSlots(const Image& image)
    {
        return {PixelsOf(image, Color), PixelsOf(image, Depth), PixelsOf(image, Stencil)};
    }
    /// What the draws between the begin and the end of each query add to it, which decides about what other draws do
    /// when rendering is conditional.
    [[nodiscard]] std::vector<Slot> SampleSlots() const;
    /// Those of a surface.
    [[nodiscard]] std::array<Slot, 3> SurfacePixels(std::uint32_t surface)
    {
        return PixelSlots({SurfaceOwner(surface), 0, 0});
    }

private:
    // What the description says of a call; false where it says nothing.
    bool TrackChanges(const CallArguments& call);
    bool TrackObjects(const CallArguments& call);
    bool TrackChange(const Data::StateChange& change, const CallArguments& call);
    bool TrackUniform(const Data::StatePlace& place, const CallArguments& call);
    void TrackBinding(const Data::StatePlace& place, Slot slot);
    // Each handles the calls of one family beyond that, and answers false for others.
    bool TrackEGL(const CallArguments& call);
    bool TrackDebug(const CallArguments& call);
    Slot SampleSlot(Owner query) { return SlotOf(query, State::QueryResult, 0, 1); }
    bool TrackQuery(const CallArguments& call);
    bool TrackProgram(const CallArguments& call);
    bool TrackLocation(const CallArguments& call);
    bool TrackBuffer(const CallArguments& call);
    bool TrackTexture(const CallArguments& call);
    bool TrackTextureStorage(const CallArguments& call);
    void MakeMipmaps(Owner texture);
    void ClearTexture(const CallArguments& call);
    bool TrackDrawing(const CallArguments& call);
    bool TrackClear(const CallArguments& call);
    void CopyImage(const CallArguments& call);

    // Effects of the record at work. Those that write make it IfUsed.
    void Replaces(Slot slot);
    void Changes(Slot slot);
    void Reads(Slot slot) { m_log.Add(Effect::Reads, slot); }
    void ReadsAll(Owner owner);
    /// The object and what it refers to.
    void ReadsObject(Owner owner, int depth = 2);
    /// The call means what it does because of how a program was built.
    void ReadsBuilder(const CallArguments& call);
    void Exists(Owner owner) { Reads(SlotOf(owner, State::Object)); }

    // Objects.
    [[nodiscard]] Slot SlotOf(Owner owner, State state, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return m_state.Slots().At(owner, state, first, second);
    }
    Owner Find(ObjectKind kind, std::uint32_t name) { return m_state.Find(kind, name); }
    void Create(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    void Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    void Unbind(Owner owner);
    void ReadsContainers(ObjectKind kind);
    /// Nothing but the current context refers to the object.
    [[nodiscard]] bool IsOnlyUsedHere(Owner owner);
    void Refer(Owner from, Owner to);
    void EndUnusedProgram(Owner program);
    void LetGoOfShader(Owner shader, Owner program);
    bool MakeCurrent(const CallArguments& call);
    void DestroyContext(std::uint32_t context);

    // The current context.
    [[nodiscard]] Data::StateContext& Context() { return m_state.Context(); }
    [[nodiscard]] ContextInfo& Info() { return m_contexts[Context().owner]; }
    Slot ContextSlot(State state, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return m_state.ContextSlot(state, first, second);
    }
    Slot FramebufferSlot(bool isForDrawing) { return ContextSlot(State::Framebuffer, 0, isForDrawing); }
    Owner BoundFramebuffer(bool isForDrawing) { return m_state.Bound(State::Framebuffer, 0, isForDrawing); }
    /// A word of a setting of the context.
    double Setting(State state, std::uint32_t first = 0, std::uint32_t second = 0, std::size_t word = 0)
    {
        return m_state.Word(Context().owner, state, first, second, word);
    }
    Slot BufferSlot(std::uint32_t target);
    // Read the binding of a target too.
    Owner BoundBuffer(std::uint32_t target);
    Owner BoundTexture(std::uint32_t target);

    // Images.
    void ReplacesImage(const Image& image, ImageSize size);
    /// Replaces what the image holds when the area covers it, else changes it.
    void WritesArea(const Image& image, std::int32_t x, std::int32_t y, ImageSize size);
    void ReadsUpload(std::uint32_t target);
    enum Aspects : std::uint32_t { Color = 1, Depth = 2, Stencil = 4, AllAspects = 7 };
    Slot PixelsOf(const Image& image, Aspects aspect)
    {
        return SlotOf(image.object, State::Pixels, image.face, image.level * 8 + aspect);
    }
    void ChangesPixels(const Image& image, std::uint32_t aspects);
    void Draws(const Image& image, std::uint32_t aspects)
    {
        ChangesPixels(image, aspects);
        Object(image.object).drawn.insert(image.Place());
    }
    [[nodiscard]] std::optional<ImageSize> SizeOf(const Image& image);
    void CopiesTo(const Image& image);
    void CreateEGLImage(const CallArguments& call);

    // Drawing.
    struct Target {
        std::uint32_t attachment;
        Image image;
        std::uint32_t aspects;
    };
    /// What is attached to a framebuffer.
    std::vector<Target> Attachments(Owner framebuffer);
    /// What a draw may write to.
    std::vector<Target> DrawTargets();
    /// Buffers and images that shaders can write to.
    void ChangesShaderOutput();
    void ChangesAllPixels(Owner texture);
    void WritesBuffer(Owner buffer);
    void ReadsContext();
    void ReadsReadFramebuffer();
    void ReadsFramebufferSetup(Owner framebuffer);
    void Draw();
    void Clear(std::uint32_t aspects, std::optional<std::uint32_t> drawBuffer);
    [[nodiscard]] bool ClearsAll(const std::vector<Target>& targets, std::uint32_t aspects);
    Owner SurfaceOwner(std::uint32_t surface);

    EffectLog m_log;
    Data::StateModel m_state;
    /// By owner. References stay valid.
    std::deque<ObjectInfo> m_objects;
    /// By the owner that a context is.
    std::map<Owner, ContextInfo> m_contexts;
    std::map<std::uint32_t, Current> m_threads;
    std::map<std::uint32_t, std::pair<std::uint32_t, Current>> m_surfaces;
    std::map<std::uint32_t, Owner> m_surfaceOwners;
};

} // namespace Trim
