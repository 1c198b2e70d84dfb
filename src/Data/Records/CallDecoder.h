// Turns the record of a call into a call of an adapter, and refuses what a driver could not be trusted with.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "Data/GLEnums.h"
#include "Data/Records/CallTable.h"
#include "Data/Records/RecordView.h"
#include "Data/State/ClientState.h"
#include "Data/State/Sizes.h"
#include "Interfaces/EGLAdapter.h"
#include "Interfaces/GLAdapter.h"

namespace Data {

class CallDecoder;
class Diagnostics;
class StateModel;

/// How the calls of one kind are decoded.
struct CallDecoding {
    void (*decode)(CallDecoder& decoder);
    /// Bytes of a record up to the contents of its pointers.
    std::uint32_t fixedBytes;
};

/// Indexed by CallId. Generated: one function a call, which reads the arguments, checks them, tells the client state
/// and hands them to the adapter.
extern const std::span<const CallDecoding, callCount> callDecodings;

/// Decodes calls. Most members serve the generated functions: each reads the argument at its place in the record and
/// answers false when it must not reach a driver; the trouble is then reported and the call is skipped.
///
/// A pointer argument is handed on as contents only after these were found inside the record, after those of the
/// arguments in front, and at least as large as the call reads. Nothing is allocated per call, except for output that
/// was captured without room for it.
class CallDecoder {
public:
    static constexpr std::uint32_t MaxParameters = 16;

    explicit CallDecoder(Diagnostics& diagnostics);

    void SetAdapter(GLAdapter* adapter) { m_gl = adapter; }
    void SetAdapter(EGLAdapter* adapter) { m_egl = adapter; }

    /// Tells `model` of each call ahead of the adapter. It is not owned; null for none.
    void SetStateModel(StateModel* model) { m_model = model; }

    /// Decodes the record of a call. Its bytes may be changed by the adapter.
    void Decode(CallId call, std::uint8_t* record);
    /// The vertices of a VertexAttribData record, for the draw that follows.
    void DecodeVertexAttribData(std::uint8_t* record);
    void DecodeMappedData(std::uint8_t* record);
    /// The thread of the calls that follow.
    void SetThread(std::uint32_t thread);
    /// Whether the context that the capture has current is current in the replay. While it is not, GL calls would reach
    /// another context than the one whose state they are checked against, so they are skipped. To be called again after
    /// each EGL call and thread that may change it; taken for true before the first time.
    void SetContextLive(bool isLive) { m_skipsGL = !isLive || !m_client.HasContext(); }
    /// Where to find the state of the context that is current in the driver, in the driver's names. What a pointer
    /// means is taken from there as long as it points to a state: names that a capture gives twice, calls that fail or
    /// are missing and locations that differ make it another than the captured one. Null without a driver.
    void SetDriverContext(ContextState* const* context) { m_driver = context; }
    [[nodiscard]] bool SkipsGL() const { return m_skipsGL; }
    /// Uploads of images, and vertices for drawing them, are read from memory without gaps, as far as the driver goes.
    [[nodiscard]] bool TakesPackedMemory() const;
    /// The chunk that the vertex data lies in goes away.
    void ForgetVertexData() { m_delivered = 0; }

    GLAdapter& GL() { return *m_gl; }
    EGLAdapter& EGL() { return *m_egl; }
    ClientState& Client() { return m_client; }
    /// The captured one, in the capture's names.
    ContextState& Context() { return m_client.Context(); }
    /// A driver's context is followed by what comes between replay and driver.
    [[nodiscard]] bool HasDriver() const { return m_driver && *m_driver; }
    /// The one that says whether a pointer is an address, and how much memory is behind it.
    ContextState& Bound() { return HasDriver() ? **m_driver : m_client.Context(); }

    template <class T> [[nodiscard]] T Value(std::uint32_t at) const
    {
        T value;
        std::memcpy(&value, m_record + at, sizeof value);
        return value;
    }
    PointerData& Pointer(std::uint32_t parameter) { return m_pointers[parameter]; }
    PointerData& Returned() { return m_pointers[MaxParameters]; }

    // Each takes the number of the parameter and the place of its slot. Sizes are in elements; input below 0 is 0.

    /// A value that nobody follows, or an offset into a bound buffer.
    bool Opaque(std::uint32_t parameter, std::uint32_t at)
    {
        m_pointers[parameter].SetValue(Value<PointerSlot>(at).value);
        return true;
    }
    bool Callback(std::uint32_t parameter, std::uint32_t at);
    bool AttribPointer(std::uint32_t parameter, std::uint32_t at);
    bool Input(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t needed);
    bool OptionalInput(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t needed);
    bool Output(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t room);
    bool OptionalOutput(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t room);
    /// Object names that the driver answered: the live ones belong to them, so they must have been captured.
    bool Names(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t count);
    bool OptionalNames(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t count);
    bool CString(std::uint32_t parameter, std::uint32_t at);
    /// `length` below 0: up to the zero byte.
    bool String(std::uint32_t parameter, std::uint32_t at, std::int64_t length);
    bool OptionalString(std::uint32_t parameter, std::uint32_t at, std::int64_t length);
    bool Strings(std::uint32_t parameter, std::uint32_t at, std::int64_t count);
    /// The lengths of an array of strings, both read before, stay inside the strings.
    bool StringLengths(std::uint32_t parameter, std::uint32_t lengths);
    /// `count` arrays, as long as the array parameter `lengths` says, which was read before.
    bool Lists(std::uint32_t parameter, std::uint32_t at, std::int64_t count, std::uint32_t lengths,
               std::int64_t elementBytes);
    bool Attribs(std::uint32_t parameter, std::uint32_t at, std::int32_t terminator);
    /// The list ends with EGL_NONE.
    bool Attribs64(std::uint32_t parameter, std::uint32_t at);
    bool ReturnedPointer(std::uint32_t at) { return Opaque(MaxParameters, at); }
    bool ReturnedString(std::uint32_t at);

    /// Comes with each call that changes what a StateModel knows.
    void Follow()
    {
        if (m_model) [[unlikely]]
            TellModel();
    }
    /// An offset or a size that adds up with others: drivers do not see all sums that overflow.
    bool IsWithinMemory(std::uint32_t parameter, std::int64_t bytes);
    /// A place and a size in pixels, for the same reason.
    bool IsWithinImage(std::uint32_t parameter, std::int64_t place, std::int64_t size);
    bool KnowsBuffer(std::uint32_t parameter, std::uint32_t name);
    bool KnowsVertexArray(std::uint32_t parameter, std::uint32_t name);
    /// An offset into the element array buffer, which has storage in the driver.
    bool Indices(std::uint32_t parameter, std::uint32_t at) { return Opaque(parameter, at) && HasIndices(parameter); }
    /// `count` of them, to indices of `elementBytes` bytes: some drivers do not survive one that is no multiple of
    /// that.
    bool IndexOffsets(std::uint32_t parameter, std::uint32_t at, std::int64_t count, std::int64_t elementBytes);
    /// A draw from the element array buffer finds indices there: drivers take storage for granted.
    bool HasIndices(std::uint32_t parameter);
    /// Indices in client memory of a draw that promises to stay from `start` to `end`: some drivers do not survive it
    /// when they do not, so the promise is made true. `indices` were read before.
    void KeepPromise(const DrawRange& indices, std::uint32_t& start, std::uint32_t& end);
    /// Vertex data for all enabled attributes in client memory came with this draw.
    bool CoversDraw(const DrawRange& range);

private:
    /// Where contents lie; empty for none.
    struct Contents {
        std::uint8_t* data = nullptr;
        std::uint32_t bytes = 0;
    };
    bool Find(std::uint32_t parameter, const PointerSlot& slot, Contents& contents);
    bool Missing(std::uint32_t parameter, const PointerSlot& slot, std::int64_t needed, bool isOptional);
    bool InputContents(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t needed,
                       bool isOptional);
    bool OutputRoom(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t room,
                    bool isOptional, bool needsContents);
    bool Text(std::uint32_t parameter, std::uint32_t at, std::int64_t length, bool isOptional);
    template <class T> bool AttribList(std::uint32_t parameter, std::uint32_t at, T terminator);
    /// Whether the call is one of GL while there is no context for those; said for the first one.
    bool IsSkipped(CallId call);
    void TellModel() const;
    /// Reports and answers false.
    bool Refuse(std::uint32_t parameter, const std::string& expected, const std::string& found);

    ClientState m_client;
    GLNullAdapter m_noGL;
    EGLNullAdapter m_noEGL;
    GLAdapter* m_gl = &m_noGL;
    EGLAdapter* m_egl = &m_noEGL;
    StateModel* m_model = nullptr;
    Diagnostics& m_diagnostics;

    std::uint8_t* m_record = nullptr;
    RecordView m_view;
    /// End of the contents found so far in this record.
    std::uint32_t m_contentsEnd = 0;
    CallId m_call{};
    bool m_skipsGL = false;
    bool m_isSkippingSaid = false;
    std::array<PointerData, MaxParameters + 1> m_pointers;

    ContextState* const* m_driver = nullptr;

    /// Vertices that came with the next call.
    struct Delivery {
        std::uint32_t index; ///< of the attribute, in the capture
        std::uint32_t first;
        std::uint32_t count;
        std::uint64_t pointer; ///< of vertex 0, as the driver got it
        std::int32_t stride;
        std::uint32_t elementBytes;
    };
    /// What an attribute reads; null for vertices that did not come.
    const Delivery* FindDelivery(std::uint32_t index);
    std::uint32_t m_delivered = 0;
    std::array<Delivery, MaxVertexAttribs> m_deliveries = {};
};

} // namespace Data
