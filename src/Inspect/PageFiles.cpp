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
        {"tabs/call.js", Script, Pages::call},
        {"clike.js", Script, Pages::clike},
        {"codemirror.js", Script, Pages::codemirror},
        {"tabs/compare.js", Script, Pages::compare},
        {"tabs/editor.js", Script, Pages::editor},
        {"export.js", Script, Pages::exporting},
        {"tabs/history.js", Script, Pages::history},
        {"tabs/inputs.js", Script, Pages::inputs},
        {"keys.js", Script, Pages::keys},
        {"frames/list.js", Script, Pages::list},
        {"main.js", Script, Pages::start},
        {"tabs/mesh.js", Script, Pages::mesh},
        {"names.js", Script, Pages::names},
        {"output/output.js", Script, Pages::output},
        {"output/overlay.js", Script, Pages::overlay},
        {"output/pixels.js", Script, Pages::pixels},
        {"tabs/programs.js", Script, Pages::programs},
        {"tabs/resources.js", Script, Pages::resources},
        {"output/shader.js", Script, Pages::shader},
        {"frames/snapshots.js", Script, Pages::snapshots},
        {"source.js", Script, Pages::source},
        {"tabs/state.js", Script, Pages::state},
        {"frames/thumbnails.js", Script, Pages::thumbnails},
        {"frames/timeline.js", Script, Pages::timeline},
        {"frames/tree.js", Script, Pages::tree},
        {"tabs/typed.js", Script, Pages::typed},
        {"tabs/uses.js", Script, Pages::uses},
        {"util.js", Script, Pages::util},
    };
    const PageFile* const file = std::ranges::find(files, name, &PageFile::name);
    return file != std::end(files) ? file : nullptr;
}

} // namespace Inspect
