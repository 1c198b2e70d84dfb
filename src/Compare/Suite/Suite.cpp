#include "Compare/Suite/Suite.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <thread>

#include "Compare/Comparison.h"
#include "Util/ImageFile.h"

namespace Compare {

namespace {

/// Longest side of a picture, in pixels.
constexpr std::uint32_t LongestSide = 1024;

/// `of` says what they show.
void AddPictures(const std::string& of, const Image& expected, const Image& found, SuiteCase& one)
{
    for (auto& [name, picture] : PicturesOf(expected, found, one.request.tolerance)) {
        // What a window shows has no alpha.
        Util::MakeOpaque(picture);
        one.pictures.push_back({of + ", " + name, Util::EncodePng(Util::Shrink(picture, LongestSide))});
    }
}

/// Those of the wrong action, or of the frame where there is none. Images take much memory, and are dropped.
void TakePictures(SuiteCase& one)
{
    std::optional<WrongAction>& action = one.result.action;
    if (action)
        AddPictures(action->kind + " " + action->number, action->expected, action->found, one);
    for (FrameResult& frame : one.result.frames) {
        if (one.pictures.empty())
            AddPictures("frame " + std::to_string(frame.frame), frame.expected, frame.found, one);
        frame.expected = frame.found = {};
    }
    if (action)
        action->expected = action->found = {};
}

SuiteCase CompareOne(const SuiteRequest& suite, const std::string& name)
{
    SuiteCase one;
    one.name = name;
    one.request = suite.each;
    one.request.capture = suite.folder + "/" + name;
    const auto start = std::chrono::steady_clock::now();
    Comparison comparison(one.request, [](std::uint32_t, std::uint32_t) {});
    const Util::Outcome failure = comparison.Run();
    one.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    one.result = comparison.Get();
    if (failure) {
        one.problem = failure->message;
        one.status = failure->status;
    } else if (one.result.framesCompared == 0) {
        one.problem = "has no frame to compare: neither hashes nor a side B";
        one.status = Util::ExitStatus::NoDriver;
    } else {
        one.verdict = one.result.IsEqual() ? SuiteCase::Verdict::Equal : SuiteCase::Verdict::Different;
        TakePictures(one);
    }
    return one;
}

} // namespace

std::string SuiteCase::Text() const
{
    if (verdict == Verdict::Broken)
        return problem;
    if (result.action)
        return result.action->Text();
    const FrameResult* const wrong = result.FirstWrong();
    return wrong ? wrong->Text() : "";
}

std::vector<std::string> FindCaptures(const SuiteRequest& request, std::string& error)
{
    namespace fs = std::filesystem;
    std::vector<std::string> all;
    std::error_code code;
    for (fs::recursive_directory_iterator at(request.folder, code), end; !code && at != end; at.increment(code))
        if (at->is_regular_file(code) && at->path().extension() == ".glcap")
            all.push_back(at->path().lexically_relative(request.folder).generic_string());
    if (code)
        error = request.folder + ": cannot be read: " + code.message();
    else if (all.empty())
        error = request.folder + ": has no captures (*.glcap)";
    std::ranges::sort(all);
    std::vector<std::string> own;
    for (std::size_t i = request.shard - 1; i < all.size(); i += request.shards)
        own.push_back(all[i]);
    return own;
}

std::vector<SuiteCase> RunSuite(const SuiteRequest& request, const std::vector<std::string>& captures,
                                const std::function<void(const SuiteCase&)>& done)
{
    std::vector<SuiteCase> cases(captures.size());
    std::atomic<std::size_t> next = 0;
    std::mutex telling;
    const auto work = [&] {
        for (std::size_t i = next++; i < captures.size(); i = next++) {
            cases[i] = CompareOne(request, captures[i]);
            const std::lock_guard lock(telling);
            done(cases[i]);
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned int i = 1; i < std::min<std::size_t>(request.jobs, captures.size()); ++i)
        threads.emplace_back(work);
    work();
    threads.clear();
    return cases;
}

} // namespace Compare
