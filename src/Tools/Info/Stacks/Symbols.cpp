#include "Tools/Info/Stacks/Symbols.h"

#include <algorithm>
#include <cxxabi.h>
#include <filesystem>
#include <span>

#include <dwarf.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>

#include "Interfaces/Util.h"

namespace Tools {

namespace {

namespace fs = std::filesystem;

template <class T> using Allocated = std::unique_ptr<T, decltype(&std::free)>;

/// As people write it.
std::string Demangled(const char* name)
{
    int status = 0;
    const Allocated<char> text(abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return status == 0 ? text.get() : name;
}

/// The declaration of a function: what describes it first, where others refer to that.
Dwarf_Die DeclarationOf(Dwarf_Die die)
{
    Dwarf_Attribute attribute;
    Dwarf_Die declaration;
    for (const unsigned name : {DW_AT_abstract_origin, DW_AT_specification})
        if (dwarf_formref_die(dwarf_attr(&die, name, &attribute), &declaration) != nullptr)
            die = declaration;
    return die;
}

/// With the classes that it belongs to. Functions that only their own file knows have no more than that.
std::string PlainName(Dwarf_Die& die)
{
    const char* const own = dwarf_diename(&die);
    std::string name = own != nullptr ? own : "";
    Dwarf_Die declaration = DeclarationOf(die);
    Dwarf_Die* scopes = nullptr;
    const int count = dwarf_getscopes_die(&declaration, &scopes);
    const Allocated<Dwarf_Die> owner(scopes, &std::free);
    for (int i = 1; i < count; ++i) {
        const int tag = dwarf_tag(&scopes[i]);
        const bool isScope = tag == DW_TAG_class_type || tag == DW_TAG_structure_type || tag == DW_TAG_namespace;
        const char* const scope = isScope ? dwarf_diename(&scopes[i]) : nullptr;
        name = scope != nullptr ? scope + ("::" + name) : name;
    }
    return name;
}

std::string FunctionName(Dwarf_Die& die)
{
    Dwarf_Attribute attribute;
    for (const unsigned name : {DW_AT_linkage_name, DW_AT_MIPS_linkage_name})
        if (const char* const linked = dwarf_formstring(dwarf_attr_integrate(&die, name, &attribute)))
            return Demangled(linked);
    return PlainName(die);
}

bool IsInlined(Dwarf_Die& die)
{
    return dwarf_tag(&die) == DW_TAG_inlined_subroutine;
}

std::uint64_t NumberOf(Dwarf_Die& die, unsigned name)
{
    Dwarf_Attribute attribute;
    Dwarf_Word value = 0;
    return dwarf_formudata(dwarf_attr(&die, name, &attribute), &value) == 0 ? value : 0;
}

/// The file from which an inlined function is called.
std::string CallFile(Dwarf_Die& inlined)
{
    Dwarf_Die unit;
    Dwarf_Files* files = nullptr;
    if (dwarf_diecu(&inlined, &unit, nullptr, nullptr) == nullptr || dwarf_getsrcfiles(&unit, &files, nullptr) != 0)
        return "";
    const char* const file = dwarf_filesrc(files, NumberOf(inlined, DW_AT_call_file), nullptr, nullptr);
    return file != nullptr ? file : "";
}

/// The functions that an address lies in: inlined ones, and the one that they were put into. Innermost first.
std::vector<Dwarf_Die> FunctionsAt(Dwarf_Die* unit, Dwarf_Addr address)
{
    Dwarf_Die* scopes = nullptr;
    const int count = unit != nullptr ? dwarf_getscopes(unit, address, &scopes) : 0;
    const Allocated<Dwarf_Die> scopesOwner(scopes, &std::free);
    // The way out of the innermost scope leads through the places where functions are inlined, and not through those
    // where they are declared.
    Dwarf_Die* around = nullptr;
    const int aroundCount = count > 0 ? dwarf_getscopes_die(&scopes[0], &around) : 0;
    const Allocated<Dwarf_Die> aroundOwner(around, &std::free);
    std::vector<Dwarf_Die> functions;
    for (Dwarf_Die& die : std::span(around, static_cast<std::size_t>(std::max(aroundCount, 0)))) {
        if (!IsInlined(die) && dwarf_tag(&die) != DW_TAG_subprogram)
            continue;
        functions.push_back(die);
        if (!IsInlined(die))
            break;
    }
    return functions;
}

/// Files that may be those of a module, the likeliest first.
std::vector<fs::path> Candidates(const std::vector<std::string>& folders, const Data::CodeModule& module)
{
    constexpr const char* SystemFolder = "/usr/lib/debug";
    const fs::path path = module.path;
    std::string id;
    for (const std::uint8_t byte : module.buildId) {
        constexpr const char* Digits = "0123456789abcdef";
        id += {Digits[byte / 16], Digits[byte % 16]};
    }
    const auto byId = [&](const fs::path& folder) {
        return folder / ".build-id" / id.substr(0, 2) / (id.substr(2) + ".debug");
    };
    std::vector<fs::path> files;
    for (const fs::path folder : folders) {
        if (id.size() > 2)
            files.push_back(byId(folder));
        files.push_back(folder / path.relative_path());
        files.push_back(folder / path.filename());
        files.push_back(folder / path.filename().concat(".debug"));
    }
    files.push_back(path);
    if (id.size() > 2)
        files.push_back(byId(SystemFolder));
    return files;
}

} // namespace

/// One module's file, with its debug information wherever that is.
class Symbols::OpenModule {
public:
    /// `debugPath` is borrowed.
    OpenModule(const fs::path& file, char** debugPath)
        : m_callbacks{.find_elf = nullptr,
                      .find_debuginfo = &dwfl_standard_find_debuginfo,
                      .section_address = &dwfl_offline_section_address,
                      .debuginfo_path = debugPath},
          m_dwfl(dwfl_begin(&m_callbacks))
    {
        dwfl_report_begin(m_dwfl);
        m_module = dwfl_report_elf(m_dwfl, file.c_str(), file.c_str(), -1, 0, true);
        dwfl_report_end(m_dwfl, nullptr, nullptr);
    }
    ~OpenModule() { dwfl_end(m_dwfl); }
    OpenModule(const OpenModule&) = delete;
    OpenModule& operator=(const OpenModule&) = delete;

    explicit operator bool() const { return m_module != nullptr; }

    [[nodiscard]] bool HasBuildId(const std::vector<std::uint8_t>& id) const
    {
        const unsigned char* bits = nullptr;
        GElf_Addr at = 0;
        const int bytes = dwfl_module_build_id(m_module, &bits, &at);
        return bytes >= 0 && std::ranges::equal(id, std::span(bits, static_cast<std::size_t>(bytes)));
    }

    [[nodiscard]] std::vector<CodePlace> Find(Dwarf_Addr address) const
    {
        CodePlace place = PlaceOf(address);
        Dwarf_Addr bias = 0;
        Dwarf_Die* const unit = dwfl_module_addrdie(m_module, address, &bias);
        std::vector<CodePlace> places;
        for (Dwarf_Die& function : FunctionsAt(unit, address - bias)) {
            place.function = FunctionName(function);
            place.isInlined = IsInlined(function);
            places.push_back(place);
            place = {"", CallFile(function), static_cast<int>(NumberOf(function, DW_AT_call_line)), 0, false};
        }
        if (!places.empty() || place.function.empty())
            return places;
        return {place};
    }

private:
    /// By the tables of symbols and lines.
    [[nodiscard]] CodePlace PlaceOf(Dwarf_Addr address) const
    {
        CodePlace place;
        GElf_Sym symbol;
        GElf_Off offset = 0;
        if (const char* const name =
                dwfl_module_addrinfo(m_module, address, &offset, &symbol, nullptr, nullptr, nullptr)) {
            place.function = Demangled(name);
            place.offset = offset;
        }
        if (Dwfl_Line* const line = dwfl_module_getsrc(m_module, address))
            if (const char* const file = dwfl_lineinfo(line, nullptr, &place.line, nullptr, nullptr, nullptr))
                place.file = file;
        return place;
    }

    const Dwfl_Callbacks m_callbacks;
    Dwfl* const m_dwfl;
    Dwfl_Module* m_module = nullptr;
};

Symbols::Symbols(const std::string& folders, std::function<void(const std::string&)> note)
    : m_folders(Util::String::Tokenize(folders, ":")), m_note(std::move(note))
{
    for (std::string& folder : m_folders) {
        folder = fs::absolute(folder).string();
        m_debugPath += folder + ":";
    }
    m_debugPath += ":.debug:/usr/lib/debug";
}

Symbols::~Symbols() = default;

std::unique_ptr<Symbols::OpenModule> Symbols::Open(const Data::CodeModule& module) const
{
    char* debugPath = const_cast<char*>(m_debugPath.c_str());
    std::string other;
    for (const fs::path& file : Candidates(m_folders, module)) {
        std::error_code error;
        if (!fs::is_regular_file(file, error))
            continue;
        auto open = std::make_unique<OpenModule>(file, &debugPath);
        if (*open && (module.buildId.empty() || open->HasBuildId(module.buildId)))
            return open;
        other = *open ? file.string() : other;
    }
    if (!other.empty())
        m_note(other + " is another build than the recorded one, and does not name its functions");
    return nullptr;
}

std::vector<CodePlace> Symbols::Find(std::uint32_t number, const Data::CodeModule& module, std::uint64_t address)
{
    const auto [found, isNew] = m_modules.try_emplace(number);
    if (isNew)
        found->second = Open(module);
    return found->second ? found->second->Find(address) : std::vector<CodePlace>();
}

} // namespace Tools
