#include "Host/Advice/Explanation.h"

#include <algorithm>
#include <set>

#include "Data/Capture/CaptureFile.h"

namespace Host {

namespace {

/// Notes the threads that do something.
class ThreadList : public Data::NullMetaHandler {
public:
    void SetCurrentThread(std::uint32_t thread) override { m_threads.insert(thread); }
    [[nodiscard]] const std::set<std::uint32_t>& Threads() const { return m_threads; }

private:
    std::set<std::uint32_t> m_threads;
};

template <class Numbers> std::string List(const Numbers& numbers)
{
    std::string text;
    for (const auto number : numbers)
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

} // namespace

std::string WhyNothingIsDrawn(const std::string& captureFile, const std::vector<int>& threads)
{
    std::string error;
    // Trouble with the file was reported when it was replayed.
    const auto capture = Data::CaptureFile::Open(captureFile, Data::Preload::No, {}, error);
    if (!capture)
        return "";
    ThreadList list;
    capture->Add(&list);
    while (capture->GetFrameProcessor()->ProcessNextFrame()) {
    }
    const bool isAnyThere = std::ranges::any_of(
        threads, [&](int thread) { return list.Threads().contains(static_cast<std::uint32_t>(thread)); });
    if (!threads.empty() && !isAnyThere) {
        return "The capture has no thread " + List(threads) + ", which -thread asks for; its " +
               (list.Threads().size() == 1 ? "only thread is " : "threads are ") + List(list.Threads()) + ".";
    }
    const auto calls = capture->CallSums();
    if (calls.empty())
        return "";
    const bool isOfGL = std::ranges::any_of(calls, [](const auto& call) { return call.name.starts_with("gl"); });
    return isOfGL ? ""
                  : "The capture has no OpenGL ES call: its program drew with something else, such as desktop "
                    "OpenGL, which is neither recorded nor replayed.";
}

} // namespace Host
