#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Data/CallIds.h"
#include "Trim/CallArguments.h"
#include "Trim/EffectLog.h"
#include "Trim/StateSlots.h"
#include "Trim/TrackedObjects.h"

namespace Trim {

/// Follows the calls of a capture and logs what each of them does to which slot. A call that it does not know is kept
/// and may depend on everything, so that forgetting one costs size, not truth.
class StateTracker {
public:
    StateTracker() = default;
    StateTracker(const StateTracker&) = delete;
    StateTracker& operator=(const StateTracker&) = delete;

    void SetThread(std::uint32_t thread);
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
        m_objects[SurfaceOwner(surface)].drawn.insert(ImagePlace{});
    }
    /// Any other record.
    void Other(Verdict verdict)
    {
        m_log.Begin();
        m_log.SetVerdict(verdict);
    }

    [[nodiscard]] const EffectLog& Log() const { return m_log; }
    [[nodiscard]] StateSlots& Slots() { return m_slots; }
    [[nodiscard]] const ObjectInfo& Object(Owner owner) const { return m_objects[owner]; }
    [[nodiscard]] std::uint32_t Thread() const { return m_thread; }
    /// By captured thread.
    [[nodiscard]] const std::map<std::uint32_t, Current>& Threads() const { return m_threads; }
    /// Null for a context that is not there.
    [[nodiscard]] TrackedContext* FindContext(std::uint32_t context);
    /// How each surface that is still there was last made current: thread and what.
    [[nodiscard]] const std::map<std::uint32_t, std::pair<std::uint32_t, Current>>& Surfaces() const
    {
        return m_surfaces;
    }
    [[nodiscard]] bool IsDrawnTo(std::uint32_t surface) { return !m_objects[SurfaceOwner(surface)].drawn.empty(); }
    /// The slots of what an image holds: colour, depth, stencil.
    [[nodiscard]] std::array<Slot, 3> PixelSlots(const Image& image)
    {
        return {PixelsOf(image, Color), PixelsOf(image, Depth), PixelsOf(image, Stencil)};
    }
    /// Those of a surface.
    [[nodiscard]] std::array<Slot, 3> SurfacePixels(std::uint32_t surface)
    {
        return PixelSlots({SurfaceOwner(surface), 0, 0});
    }

private:
    // Each handles the calls of one family and answers false for others.
    bool TrackEGL(const CallArguments& call);
    bool TrackSetting(const CallArguments& call);
    bool TrackWithoutEffect(const CallArguments& call);
    bool TrackObject(const CallArguments& call);
    bool TrackBinding(const CallArguments& call);
    bool TrackProgram(const CallArguments& call);
    bool TrackUniform(const CallArguments& call);
    bool TrackBuffer(const CallArguments& call);
    bool TrackVertexArray(const CallArguments& call);
    bool TrackTexture(const CallArguments& call);
    bool TrackFramebuffer(const CallArguments& call);
    bool TrackDrawing(const CallArguments& call);

    // Effects of the record at work. Those that write make it IfUsed.
    void Replaces(Slot slot);
    void Changes(Slot slot);
    void Reads(Slot slot) { m_log.Add(Effect::Reads, slot); }
    void ReadsAll(Owner owner);
    /// The object and what it refers to.
    void ReadsObject(Owner owner, int depth = 2);
    /// Attribute indices in calls are those of the program in use.
    void ReadsAttribLocations();
    void Exists(Owner owner) { Reads(m_slots.At(owner, Piece::Object)); }

    // Objects.
    Owner MakeObject(ObjectKind kind, std::uint32_t name);
    ObjectNames& NamesOf(ObjectKind kind);
    /// Nobody when there is no such object.
    Owner Find(ObjectKind kind, std::uint32_t name);
    void Create(ObjectKind kind, std::uint32_t name);
    void Delete(ObjectKind kind, std::uint32_t name);
    void Unbind(Owner owner);
    void ReadsContainers(ObjectKind kind);
    /// Nothing but the current context refers to the object.
    [[nodiscard]] bool IsOnlyUsedHere(Owner owner);
    void Refer(Owner from, Owner to);
    void EndUnusedProgram(Owner program);
    void LetGoOfShader(Owner shader, Owner program);
    void CreateContext(std::uint32_t context, std::uint32_t sharedContext);
    bool MakeCurrent(const CallArguments& call);
    void DestroyContext(std::uint32_t context);

    // Bindings of the current context.
    Slot ContextSlot(Piece piece, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return m_slots.At(m_context->owner, piece, first, second);
    }
    std::uint32_t Value(Piece piece, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return m_slots.Value(ContextSlot(piece, first, second));
    }
    void Bind(Slot slot, ObjectKind kind, std::uint32_t name);
    Slot SettingSlot(Data::CallId name, std::uint32_t key = 0);
    bool IsEnabled(std::uint32_t capability);
    Slot BufferSlot(std::uint32_t target);
    Slot IndexedBufferSlot(std::uint32_t target, std::uint32_t index);
    /// Reads the binding of a target too.
    Owner BoundBuffer(std::uint32_t target);
    Owner BoundTexture(std::uint32_t target);
    Owner BoundVertexArray();
    Owner BoundTransformFeedback();

    // Images.
    void ReplacesImage(const Image& image, ImageSize size);
    /// Replaces what the image holds when the area covers it, else changes it.
    void WritesArea(const Image& image, std::int32_t x, std::int32_t y, ImageSize size);
    void ReadsUpload(std::uint32_t target);
    enum Aspects : std::uint32_t { Color = 1, Depth = 2, Stencil = 4, AllAspects = 7 };
    Slot PixelsOf(const Image& image, Aspects aspect)
    {
        return m_slots.At(image.object, Piece::Pixels, image.face, image.level * 8 + aspect);
    }
    void ChangesPixels(const Image& image, std::uint32_t aspects);
    void Draws(const Image& image, std::uint32_t aspects)
    {
        ChangesPixels(image, aspects);
        m_objects[image.object].drawn.insert(image.Place());
    }
    [[nodiscard]] std::optional<ImageSize> SizeOf(const Image& image) const;
    void CopiesTo(const Image& image);
    void CreateEGLImage(const CallArguments& call);

    // Drawing.
    struct Target {
        std::uint32_t attachment;
        Image image;
        std::uint32_t aspects;
    };
    /// What a draw may write to.
    std::vector<Target> DrawTargets();
    void Attach(const CallArguments& call, const Image& image);
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
    StateSlots m_slots;
    /// By owner.
    std::vector<ObjectInfo> m_objects = std::vector<ObjectInfo>(1);
    std::map<std::uint32_t, std::shared_ptr<TrackedContext>> m_contexts;
    std::map<std::uint32_t, Current> m_threads;
    std::map<std::uint32_t, std::pair<std::uint32_t, Current>> m_surfaces;
    std::map<std::uint32_t, Owner> m_surfaceOwners;
    ObjectNames m_eglSyncs;
    std::uint32_t m_thread = 0;
    /// Of the current thread; null for none.
    std::shared_ptr<TrackedContext> m_context;
};

} // namespace Trim
