#include "Inspect/Capture/TreeBuilder.h"

#include <algorithm>
#include <ranges>

namespace Inspect {

using Data::ActionKind;
using Data::CallId;

namespace {

/// Programs may nest without an end.
constexpr std::size_t MostDepth = 64;

bool DrawsToFramebuffer(ActionKind kind)
{
    return kind == ActionKind::Draw || kind == ActionKind::Clear || kind == ActionKind::Blit;
}

} // namespace

void TreeBuilder::Action(std::uint32_t number, ActionKind kind, std::uint32_t context, const Bound& bound)
{
    const auto pass =
        std::ranges::find_if(m_open.rbegin(), m_open.rend(), [](const Open& open) { return open.isPass; });
    const bool isInPass = pass != m_open.rend() && pass->context == context && pass->framebuffer == bound.framebuffer;
    // What computes or copies does not end the pass that it comes in.
    if (DrawsToFramebuffer(kind) && !isInPass) {
        while (!m_open.empty() && m_open.back().isPass)
            m_open.pop_back();
        Add(TreeNode::Kind::Pass, number, {}, bound.framebuffer, context);
        m_open.push_back({true, context, bound.framebuffer});
    }
    Add(TreeNode::Kind::Action, number, {}, bound.program, context);
}

void TreeBuilder::Call(std::uint32_t number, const Data::CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glPushDebugGroup:
    case CallId::glPushDebugGroupKHR:
        Push(number, call.Text(3));
        break;
    case CallId::glPushGroupMarkerEXT:
        Push(number, call.Text(1));
        break;
    case CallId::glPopDebugGroup:
    case CallId::glPopDebugGroupKHR:
    case CallId::glPopGroupMarkerEXT:
        Pop();
        break;
    case CallId::glInsertEventMarkerEXT:
        Add(TreeNode::Kind::Marker, number, call.Text(1));
        break;
    case CallId::glDebugMessageInsert:
    case CallId::glDebugMessageInsertKHR:
        Add(TreeNode::Kind::Marker, number, call.Text(5));
        break;
    default:
        break;
    }
}

void TreeBuilder::Add(TreeNode::Kind kind, std::uint32_t call, std::string_view text, std::uint32_t object,
                      std::uint32_t context)
{
    m_tree.push_back({kind, static_cast<std::uint32_t>(m_open.size()), call, std::string(text), object, context});
}

void TreeBuilder::Push(std::uint32_t number, std::string_view text)
{
    Add(TreeNode::Kind::Group, number, text);
    if (m_open.size() < MostDepth)
        m_open.push_back({false, 0, 0});
}

void TreeBuilder::Pop()
{
    const auto group =
        std::ranges::find_if(m_open.rbegin(), m_open.rend(), [](const Open& open) { return !open.isPass; });
    // A group of the frame before may end here.
    if (group != m_open.rend())
        m_open.erase(group.base() - 1, m_open.end());
}

} // namespace Inspect
