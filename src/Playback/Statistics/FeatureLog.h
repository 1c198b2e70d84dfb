#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "Playback/Statistics/StatsBin.h"

namespace Playback {

/// What the two statistics adapters have in common: how uses of features are recorded in the store, and noted line by
/// line in a text file of the adapter's own. Replay thread only.
class FeatureLog {
public:
    /// The store may be null; then only the text file is written. `first` takes the place of the first letter of
    /// functions in the keys of extensions.
    FeatureLog(StatsBin* store, const char* textFile, char first);
    FeatureLog(const FeatureLog&) = delete;
    FeatureLog& operator=(const FeatureLog&) = delete;

    void SetCaptureFileName(std::string captureFileName) { m_captureFileName = std::move(captureFileName); }

    void LogIncrementDrawCount();
    /// Puts the extension of a handler's function in front of the list of extensions, when it is the first function of
    /// its extension. `handler` is "Process_" and the function's name.
    void LogExtensionCall(std::string_view handler);
    /// Count a call of this name that waits for the GPU, or one that does not.
    void LogBlockingCallUsed(std::string_view function);
    void LogNonBlockingCallUsed(std::string_view function);
    /// Adds an item at the end of a list. Items that are there already are added again.
    void LogItemTypeUsed(std::string_view key, std::string_view item);
    void LogTextureTypeUsed(std::string_view item);
    void LogShaderTypeUsed(std::string_view item);
    void LogQueryTypeUsed(std::string_view item);
    void LogCapTypeUsed(std::string_view item);

    /// Ends the text file. Empty when it is whole or could not be opened, else why a write failed.
    [[nodiscard]] std::string CloseText();

protected:
    ~FeatureLog() = default;

    /// A function, with the first letter that its family has in keys, and the extension that it belongs to.
    struct ExtensionFunction {
        const char* key;
        const char* extension;
    };
    void InitializeExtnMap(std::span<const ExtensionFunction> functions);

    /// Tells the store, if there is one, which captured thread the following calls come from.
    void SetThread(std::uint32_t threadId);

    [[nodiscard]] std::string_view Get(std::string_view key) const;
    void Set(std::string_view key, std::string_view value);
    /// Adds a line, with its end, to the text file.
    void Note(std::string_view line);

    std::string m_captureFileName;
    StatsBin* m_store;
    /// Null without a store.
    StatsMap* m_statistics;

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void Increment(std::string_view key);

    /// Null when the file could not be opened.
    std::unique_ptr<std::FILE, CloseFile> m_text;
    char m_first;
    /// Extension by the key of its function.
    std::map<std::string, std::string, std::less<>> m_extensions;
    std::map<std::string, bool, std::less<>> m_seenExtensions;
};

} // namespace Playback
