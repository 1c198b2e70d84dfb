"""The call interfaces that the reader drives, and the live tables."""

from text import c_parameters, header, wrap


def adapter_operation(call, named):
    args = [f"{t} {n}" if named else t for t, n in call.adapter_params]
    return f"Process_{call.name}", args


def interface(name, calls, operations, comment):
    text = f"/// {comment}\nclass {name}Adapter : public Adapter {{\npublic:\n"
    for op, args in operations:
        text += wrap(f"    virtual void {op}(", args, ") = 0;\n", indent=8)
    for call in calls:
        op, args = adapter_operation(call, True)
        text += wrap(f"    virtual void {op}(", args, ") = 0;\n", indent=8)
    text += f"}};\n\n/// Ignores every call; base of adapters that care about some.\nclass {name}NullAdapter : public {name}Adapter {{\npublic:\n"
    text += "    void SetCurrentThread(std::uint32_t) override {}\n"
    for op, args in operations:
        text += wrap(f"    void {op}(", [a.rsplit(" ", 1)[0] for a in args], ") override {}\n", indent=8)
    for call in calls:
        op, args = adapter_operation(call, False)
        text += wrap(f"    void {op}(", args, ") override {}\n", indent=8)
    return text + "};\n"


DATA_OPERATIONS = [
    ("ProcessVertexAttribData", ["std::uint32_t index", "std::int32_t size", "std::uint32_t type",
                                 "std::uint32_t normalized", "std::int32_t stride", "std::uint8_t* data",
                                 "std::uint32_t first", "std::uint32_t count"]),
    ("ProcessVertexAttribIData", ["std::uint32_t index", "std::int32_t size", "std::uint32_t type",
                                  "std::int32_t stride", "std::uint8_t* data", "std::uint32_t first",
                                  "std::uint32_t count"]),
    ("ProcessFlushMappedBufferRange", ["std::uint32_t target", "std::uint32_t offset", "std::uint32_t length",
                                       "std::uint8_t* data"]),
    ("ProcessUnmapBuffer", ["std::uint32_t target", "std::uint32_t length", "std::uint8_t* data"]),
]


def emit_gl_adapter(api):
    comment = "One operation per OpenGL ES call, after four that bring memory which belongs to no argument."
    return (header("#include <cstdint>", "", '#include "Interfaces/Data.h"') + "namespace Data {\n\n"
            + interface("GL", api.gl, DATA_OPERATIONS, comment) + "\n} // namespace Data\n")


def emit_egl_adapter(api):
    return (header("#include <cstdint>", "", '#include "Interfaces/Data.h"') + "namespace Data {\n\n"
            + interface("EGL", api.egl, [], "One operation per EGL call.") + "\n} // namespace Data\n")


TABLES = {
    "EGL": "core EGL",
    "EGLExt": "EGL extensions",
    "GLES": "core OpenGL ES",
    "GLESExt": "OpenGL ES extensions",
}


def table(api, name, comment):
    text = f"/// Functions of {comment}. Null: the driver lacks the function.\nstruct {name}ProcTable {{\n"
    for call in api.table(name):
        entry = "EGLAPIENTRYP" if call.is_egl else "GL_APIENTRYP"
        text += f"    {call.ret_c} ({entry} {call.name})({c_parameters(call)});\n"
    return text + "};\n\n"


def emit_proc_tables(api):
    text = header("#include <cstdint>", "", "#define EGL_EGLEXT_PROTOTYPES 1", "#include <EGL/egl.h>",
                  "#include <EGL/eglext.h>", "#include <GLES3/gl32.h>", "#include <GLES2/gl2ext.h>")
    text += "namespace Core {\n\n"
    for name, comment in TABLES.items():
        text += table(api, name, comment)
    text += ("/// Number of each function that has an entry in a live table; 0 stands for none. The functions of a table\n"
             "/// have consecutive numbers in the order of its entries.\nenum class FuncId : std::uint32_t {\n    None = 0,\n")
    for name in TABLES:
        text += "".join(f"    {call.name},\n" for call in api.table(name))
    text += "};\n\n"
    first = 1
    for name in TABLES:
        count = len(api.table(name))
        text += f"inline constexpr std::uint32_t First{name}FuncId = {first};\n"
        text += f"inline constexpr std::uint32_t {name}FuncCount = {count};\n"
        text += f"static_assert(sizeof({name}ProcTable) == {name}FuncCount * sizeof(void (*)()));\n"
        first += count
    return text + "\n} // namespace Core\n"


OUTPUTS = {
    "Interfaces/GLAdapter.h": emit_gl_adapter,
    "Interfaces/EGLAdapter.h": emit_egl_adapter,
    "Interfaces/ProcTables.h": emit_proc_tables,
}
