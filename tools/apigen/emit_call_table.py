"""The calls as captures know them: numbers, names and signatures."""

from text import BANNER, header


def emit_ids(api):
    text = header("#include <cstdint>") + "namespace Data {\n\n"
    text += "/// Numbers of the calls in the captures that this program writes.\nenum class CallId : std::uint32_t {\n"
    text += "".join(f"    {call.name},\n" for call in api.calls)
    return text + f"}};\n\ninline constexpr std::uint32_t callCount = {len(api.calls)};\n\n}} // namespace Data\n"


def emit_table(api):
    return BANNER + "".join(f'{{"{call.name}", "{call.signature}"}},\n' for call in api.calls)


OUTPUTS = {"Data/CallIds.h": emit_ids, "Data/CallTable.inc": emit_table}
