#include "Host/ActionScreenshots.h"

#include <algorithm>

#include <GLES3/gl32.h>

#include "Host/Screenshots.h"
#include "Probe/Actions/Targets.h"

namespace Host {

namespace {

struct Transfer {
    const char* components;
    GLenum format;
    GLenum type;
};

constexpr Transfer Transfers[] = {
    {"unorm8", GL_RGBA, GL_UNSIGNED_BYTE},
    {"snorm8", GL_RGBA, GL_BYTE},
    {"float", GL_RGBA, GL_FLOAT},
    {"int", GL_RGBA_INTEGER, GL_INT},
    {"uint", GL_RGBA_INTEGER, GL_UNSIGNED_INT},
    {"depth16", GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT},
    {"depth32", GL_DEPTH_COMPONENT, GL_UNSIGNED_INT},
    {"depthfloat", GL_DEPTH_COMPONENT, GL_FLOAT},
    {"stencil8", GL_STENCIL_INDEX, GL_UNSIGNED_BYTE},
};

/// "texture 5" and "level 2, face +X" for the name of a file: "_texture5", "_level2_face+X".
std::string InFileName(const std::string& text)
{
    std::string name = "_";
    for (const char letter : text)
        if (letter == ',')
            name += '_';
        else if (letter != ' ')
            name += letter;
    return name;
}

} // namespace

void ActionScreenshots::ProcessAction(std::uint32_t frame, Data::ActionNumber number, const Data::CallArguments& call)
{
    // The engine takes the pictures of those that count as draws.
    if (frame != m_frame || number.after == 0 || number.draw + 1 < m_draws.first || number.draw > m_draws.last)
        return;
    const Data::ActionKind kind = Data::ActionOf(call.Call());
    const std::string name = m_prefix + "frame" + std::to_string(frame) + "_" + NameOf(kind) + number.Text();
    switch (kind) {
    case Data::ActionKind::Draw:
    case Data::ActionKind::Clear:
    case Data::ActionKind::Blit:
        m_screenshots.TakePictures(number.Text(), [&] {
            m_screenshots.TakeScreenshot(name, GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        });
        break;
    default:
        m_screenshots.TakePictures(number.Text(), [&] { TakeImages(name, call); });
        break;
    }
}

void ActionScreenshots::TakeImages(const std::string& name, const Data::CallArguments& call)
{
    if (!m_model.HasContext())
        return;
    const bool isOfOneTexture = Data::ActionOf(call.Call()) != Data::ActionKind::Dispatch;
    for (const Probe::Target& target : Probe::ReadTargets(call, m_model, m_names)) {
        const auto* const transfer = std::ranges::find_if(
            Transfers, [&](const Transfer& one) { return target.contents.components == one.components; });
        // What has another form is a buffer.
        if (transfer != std::end(Transfers))
            m_screenshots.WriteScreenshot(name + (isOfOneTexture ? "" : InFileName(target.object)) +
                                              InFileName(target.what),
                                          target.contents.width, target.contents.height, target.contents.data.data(),
                                          transfer->format, transfer->type);
    }
}

} // namespace Host
