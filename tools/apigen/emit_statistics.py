"""The tables and the regular handlers of the statistics adapters."""

from text import BANNER, wrap


def emit_categories(api):
    rows = []
    for capture_type, category, key, initial in api.features.categories:
        value = f'"{initial}"' if initial else "nullptr"
        rows.append(f'{{"{capture_type}", "{category}", "{key}", {value}}},\n')
    return BANNER + "".join(rows)


def emit_features(api):
    """One table a feature, for GLStatsAdapter.cpp."""
    text = BANNER
    for feature in api.features.features:
        text += f"\nconstexpr FeatureValue {feature.name}Values[] = {{\n"
        for value in feature.values:
            # Most values set one key, none more than two.
            first, second = (*(f'"{key}"' for key in value.keys), "nullptr")[:2]
            text += f'    {{{value.number:#06x}, "{value.item}", {{{first}, {second}}}}},\n'
        text += f'}};\nconstexpr Feature {feature.name} = {{"{feature.items}", "{feature.message}", {feature.name}Values}};\n'
    return text


def extension_key(function):
    """The function's name with a capital first letter, as LogExtensionCall makes it."""
    return function[0].upper() + function[1:]


def emit_extensions(prefix):
    def rows(api):
        return BANNER + "".join(f'{{"{extension_key(e.function)}", "{e.name}"}},\n' for e in api.features.extensions
                                if e.function.startswith(prefix))
    return rows


def handler(api, name, body):
    """An override, or for a call that no capture has, an operation that takes the arguments of whatever reader calls it."""
    if name in api.by_name:
        return wrap(f"    void Process_{name}(", [t for t, _ in api.by_name[name].adapter_params],
                    f") override {{ {body} }}\n", indent=8)
    return (f"    template <class... Arguments> void Process_{name}(const Arguments&...)\n"
            f"    {{\n        {body}\n    }}\n")


def emit_handlers(prefix):
    def text(api):
        features = api.features
        result = BANNER
        for count in features.counts:
            if count.call.startswith(prefix):
                result += handler(api, count.call, f'Log{count.kind}CallUsed("{count.name}");')
        for extension in features.extensions:
            function = extension.function
            if function.startswith(prefix) and extension.has_handler and function not in features.by_hand:
                result += handler(api, function, f'LogExtensionCall("Process_{function}");')
        return result
    return text


OUTPUTS = {
    "Playback/StatsCategories.inc": emit_categories,
    "Playback/StatsFeatures.inc": emit_features,
    "Playback/GLStatsExtensions.inc": emit_extensions("gl"),
    "Playback/EGLStatsExtensions.inc": emit_extensions("egl"),
    "Playback/GLStatsHandlers.inc": emit_handlers("gl"),
    "Playback/EGLStatsHandlers.inc": emit_handlers("egl"),
}
