// The gl functions that programs are handed. Most are made from the description; those that stand here in full answer
// something else than the driver does.

#include "Recorder/Calls/ActionHash.h"
#include "Recorder/FrameEnds.h"
#include "Recorder/Images/ImportedImages.h"
#include "Recorder/Memory/WatchedBuffers.h"
#include "Recorder/Platform.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/Extensions.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Thread.h"

#include "Recorder/GLEntryPoints.inc"

RECORDER_EXPORT GLenum glGetError()
{
    using namespace Recorder;
    const auto live = Live<GLenum (*)()>(Entry::glGetError);
    const GLCall call;
    if (!call)
        return live();
    CallRecord record = Record::Begin::glGetError(*call);
    const GLenum kept = call->TakeError();
    const GLenum result = kept != GL_NO_ERROR ? kept : live();
    Record::End::glGetError(record, Capturing(), *call, result);
    return result;
}

RECORDER_EXPORT const GLubyte* glGetString(GLenum name)
{
    using namespace Recorder;
    const auto live = Live<const GLubyte* (*)(GLenum)>(Entry::glGetString);
    const GLCall call;
    const GLubyte* result =
        While(call ? Record::Begin::glGetString(*call, name) : CallRecord(), [&] { return live(name); });
    if (call) {
        if (name == GL_EXTENSIONS)
            result = reinterpret_cast<const GLubyte*>(WithoutHiddenExtensions(reinterpret_cast<const char*>(result)));
        Record::glGetString(Capturing(), *call, result, name);
    }
    return result;
}

RECORDER_EXPORT const GLubyte* glGetStringi(GLenum name, GLuint index)
{
    using namespace Recorder;
    const auto live = Live<const GLubyte* (*)(GLenum, GLuint)>(Entry::glGetStringi);
    const GLCall call;
    if (!call)
        return live(name, index);
    const GLubyte* result = nullptr;
    const auto extensions = name == GL_EXTENSIONS ? call->Extensions() : std::span<const char* const>();
    if (index < extensions.size()) {
        result = reinterpret_cast<const GLubyte*>(extensions[index]);
    } else {
        // Behind the shortened list no index is valid: the driver is to raise its error.
        result = live(name, name == GL_EXTENSIONS ? ~0u : index);
    }
    Record::glGetStringi(Capturing(), *call, result, name, index);
    return result;
}

namespace Recorder {
namespace {

/// The extensions are counted as glGetStringi answers them.
template <class Value> void HideExtensionsInCount(Context& context, GLenum pname, Value* data)
{
    if (pname == GL_NUM_EXTENSIONS && data != nullptr)
        *data = static_cast<Value>(context.Extensions().size());
}

void GetInteger64v(Entry entry, GLenum pname, GLint64* data)
{
    const auto live = Live<void (*)(GLenum, GLint64*)>(entry);
    const GLCall call;
    live(pname, data);
    if (call) {
        HideExtensionsInCount(*call, pname, data);
        Record::glGetInteger64v(Capturing(), *call, pname, data);
    }
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT void glGetIntegerv(GLenum pname, GLint* data)
{
    using namespace Recorder;
    const auto live = Live<void (*)(GLenum, GLint*)>(Entry::glGetIntegerv);
    const GLCall call;
    live(pname, data);
    if (call) {
        HideExtensionsInCount(*call, pname, data);
        Record::glGetIntegerv(Capturing(), *call, pname, data);
    }
}

RECORDER_EXPORT void glGetInteger64v(GLenum pname, GLint64* data)
{
    Recorder::GetInteger64v(Recorder::Entry::glGetInteger64v, pname, data);
}

RECORDER_EXPORT void glGetInteger64vAPPLE(GLenum pname, GLint64* data)
{
    Recorder::GetInteger64v(Recorder::Entry::glGetInteger64vAPPLE, pname, data);
}

RECORDER_EXPORT void glGetInteger64vEXT(GLenum pname, GLint64* data)
{
    Recorder::GetInteger64v(Recorder::Entry::glGetInteger64vEXT, pname, data);
}
