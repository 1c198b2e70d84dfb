"""What calls need of a driver (api/92-needs.api), as cases of a switch."""

import fnmatch

from text import BANNER, enumerator, header


def emit_kinds(api):
    text = header("#include <cstdint>") + "namespace Host {\n\n/// What a call needs of a driver.\n"
    text += "enum class Need : std::uint8_t {\n    Nothing,\n"
    return text + "".join(f"    {enumerator(what)},\n" for what in api.needs) + "};\n\n} // namespace Host\n"


def emit_cases(api):
    text = BANNER
    for what, patterns in api.needs.items():
        calls = [name for pattern in patterns for name in fnmatch.filter(api.by_name, pattern)]
        text += "".join(f"case Data::CallId::{name}:\n" for name in calls) + f"    return Need::{enumerator(what)};\n"
    return text


OUTPUTS = {"Host/Needs.h": emit_kinds, "Host/NeedCases.inc": emit_cases}
