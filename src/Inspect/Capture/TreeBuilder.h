#pragma once

#include <cstdint>
#include <vector>

#include "Data/Records/Actions.h"
#include "Data/Records/CallArguments.h"
#include "Inspect/Capture/Bindings.h"
#include "Inspect/Capture/FrameCalls.h"

namespace Inspect {

/// Puts the actions of a frame below the passes and the debug groups that they belong to.
class TreeBuilder {
public:
    /// Adds to `tree`, which must outlive this.
    explicit TreeBuilder(std::vector<TreeNode>& tree) : m_tree(tree) {}

    void Action(std::uint32_t number, Data::ActionKind kind, std::uint32_t context, const Bound& bound);
    /// Any other call; those of debug groups and markers count.
    void Call(std::uint32_t number, const Data::CallArguments& call);

private:
    /// A node that is not closed yet.
    struct Open {
        bool isPass;
        std::uint32_t context;
        std::uint32_t framebuffer;
    };

    void Add(TreeNode::Kind kind, std::uint32_t call, std::string_view text, std::uint32_t object = 0,
             std::uint32_t context = 0);
    void Push(std::uint32_t number, std::string_view text);
    void Pop();

    std::vector<TreeNode>& m_tree;
    std::vector<Open> m_open;
};

} // namespace Inspect
