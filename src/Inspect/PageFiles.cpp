#include "Inspect/PageFiles.h"

#include <algorithm>
#include <iterator>

#include "Inspect/Pages.h"

namespace Inspect {

const PageFile* FindPageFile(std::string_view name)
{
    constexpr const char* Style = "text/css; charset=utf-8";
    constexpr const char* Script = "text/javascript; charset=utf-8";
    static const PageFile files[] = {
        {"index.html", "text/html; charset=utf-8", Pages::index},
        {"style.css", Style, Pages::style},
        {"codemirror.css", Style, Pages::codemirrorStyle},
        {"api.js", Script, Pages::api},
        {"call.js", Script, Pages::call},
        {"clike.js", Script, Pages::clike},
        {"codemirror.js", Script, Pages::codemirror},
        {"compare.js", Script, Pages::compare},
        {"editor.js", Script, Pages::editor},
        {"export.js", Script, Pages::exporting},
        {"history.js", Script, Pages::history},
        {"inputs.js", Script, Pages::inputs},
        {"keys.js", Script, Pages::keys},
        {"list.js", Script, Pages::list},
        {"main.js", Script, Pages::start},
        {"mesh.js", Script, Pages::mesh},
        {"names.js", Script, Pages::names},
        {"output.js", Script, Pages::output},
        {"overlay.js", Script, Pages::overlay},
        {"pixels.js", Script, Pages::pixels},
        {"programs.js", Script, Pages::programs},
        {"resources.js", Script, Pages::resources},
        {"shader.js", Script, Pages::shader},
        {"snapshots.js", Script, Pages::snapshots},
        {"source.js", Script, Pages::source},
        {"state.js", Script, Pages::state},
        {"thumbnails.js", Script, Pages::thumbnails},
        {"timeline.js", Script, Pages::timeline},
        {"tree.js", Script, Pages::tree},
        {"typed.js", Script, Pages::typed},
        {"uses.js", Script, Pages::uses},
        {"util.js", Script, Pages::util},
    };
    const PageFile* const file = std::ranges::find(files, name, &PageFile::name);
    return file != std::end(files) ? file : nullptr;
}

} // namespace Inspect
