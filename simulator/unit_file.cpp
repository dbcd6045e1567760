// SPDX-License-Identifier: Apache-2.0
#include "unit_file.hpp"

#include "child.hpp"
#include "flash_units.hpp"
#include "unit_text.hpp"

#include <unit_instance.hpp>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

namespace bmcsim
{

bool UnitFile::Condition::holds() const
{
    std::error_code ignored;
    return std::filesystem::exists(parameter, ignored) != isNegated;
}

namespace
{

using std::chrono::microseconds;

[[noreturn]] void failAsUnknown(const std::string& what)
{
    throw std::invalid_argument("the built-in manager does not know " + what);
}

/** Replaces the specifiers of a unit: %i, %I, %n, %N, %p and %%. */
std::string specified(const std::string& text, const std::string& unit)
{
    const auto instance = UnitName(unit).instance;
    const auto plain = unit.substr(0, unit.rfind('.'));
    const std::map<char, std::string> values{
        {'%', "%"},  {'i', instance}, {'I', plain::unescaped(instance)},
        {'n', unit}, {'N', plain},    {'p', plain.substr(0, plain.find('@'))},
    };
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '%')
        {
            result += text[i];
            continue;
        }
        const auto value = values.find(text[++i]);
        if (value == values.end())
        {
            failAsUnknown(text.substr(i - 1, 2));
        }
        result += value->second;
    }
    return result;
}

std::string withoutBlanksAround(const std::string& text)
{
    constexpr auto blanks = " \t";
    const auto first = text.find_first_not_of(blanks);
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

/** The words of a value: with blanks between them, some in quotation marks. */
std::vector<std::string> wordsOf(const std::string& text)
{
    std::vector<std::string> words;
    std::string word;
    auto isWord = false;
    char mark = '\0';
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const auto c = text[i];
        if (c == '\\')
        {
            const auto escaped = text[++i];
            if (escaped != '\\' && escaped != '"' && escaped != '\'')
            {
                failAsUnknown(text.substr(i - 1, 2));
            }
            word += escaped;
            isWord = true;
        }
        else if (mark == '\0' && (c == '"' || c == '\''))
        {
            mark = c;
            isWord = true;
        }
        else if (c == mark)
        {
            mark = '\0';
        }
        else if (mark == '\0' && (c == ' ' || c == '\t'))
        {
            if (std::exchange(isWord, false))
            {
                words.push_back(std::exchange(word, ""));
            }
        }
        else
        {
            word += c;
            isWord = true;
        }
    }
    if (mark != '\0')
    {
        throw std::invalid_argument("a quotation mark is not closed");
    }
    if (isWord)
    {
        words.push_back(word);
    }
    return words;
}

bool truth(const std::string& value)
{
    for (const auto* yes : {"yes", "true", "on", "1"})
    {
        if (value == yes)
        {
            return true;
        }
    }
    for (const auto* no : {"no", "false", "off", "0"})
    {
        if (value == no)
        {
            return false;
        }
    }
    throw std::invalid_argument("'" + value + "' is neither yes nor no");
}

UnitFile::Limit limitFrom(const std::string& value)
{
    static const std::map<std::string, std::int64_t> units{
        {"", 1000000}, {"s", 1000000},  {"sec", 1000000}, {"us", 1},
        {"ms", 1000},  {"m", 60000000}, {"min", 60000000}};
    if (value == "infinity")
    {
        return {};
    }
    std::int64_t number = 0;
    const auto* const last = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), last, number);
    const auto unit = units.find(std::string(rest, last));
    if (error != std::errc() || number < 0 || unit == units.end())
    {
        throw std::invalid_argument("'" + value + "' is no time");
    }
    // As systemd: no time is no limit. A clock cannot add much longer ones.
    constexpr microseconds longest = std::chrono::years(100);
    return number == 0 || number > longest.count() / unit->second
               ? UnitFile::Limit()
               : UnitFile::Limit(number * unit->second);
}

std::int32_t exitStatusFrom(const std::string& word)
{
    constexpr auto most = 255;
    std::int32_t number = 0;
    const auto* const last = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), last, number);
    if (error != std::errc() || rest != last || number < 0 || number > most)
    {
        throw std::invalid_argument("'" + word +
                                    "' is no exit status from 0 to 255");
    }
    return number;
}

/** Whether systemd would look for a variable in a word of a command. */
bool holdsVariable(const std::string& word)
{
    for (auto at = word.find('$'); at != std::string::npos;
         at = word.find('$', at))
    {
        const auto next = word[at + 1];
        if (next == '{' || (at == 0 && next != '$'))
        {
            return true;
        }
        at += next == '$' ? 2 : 1;
    }
    return false;
}

/** Puts one setting after the other into a unit file. */
class Reader
{
  public:
    Reader(UnitFile& file, const std::string& unit) : file(file), unit(unit) {}

    void read(std::istream& text)
    {
        std::string section;
        for (std::string line; std::getline(text, line);)
        {
            line = withoutBlanksAround(line);
            if (line.empty() || line.front() == '#' || line.front() == ';')
            {
                continue;
            }
            if (line.ends_with('\\'))
            {
                failAsUnknown("lines that go on");
            }
            const auto equals = line.find('=');
            if (line.front() == '[')
            {
                section = line;
            }
            else if (equals == std::string::npos)
            {
                throw std::invalid_argument("'" + line + "' is no setting");
            }
            else
            {
                set(section, withoutBlanksAround(line.substr(0, equals)),
                    withoutBlanksAround(line.substr(equals + 1)));
            }
        }
        complete();
    }

  private:
    void set(const std::string& section, const std::string& name,
             const std::string& value)
    {
        const auto known = settings.find(section + name);
        if (known == settings.end())
        {
            failAsUnknown(name + '=');
        }
        if (value.empty())
        {
            failAsUnknown("an empty " + name + '=');
        }
        known->second(*this, value);
    }

    /** Sets what is set without a word, and checks as systemd does. */
    void complete()
    {
        if (file.type.empty())
        {
            file.type = file.execStart.empty() ? "oneshot" : "simple";
        }
        const auto isOneshot = file.type == "oneshot";
        if (!isOneshot && file.type != "simple")
        {
            failAsUnknown("Type=" + file.type);
        }
        if (isOneshot && !hasTimeoutStart)
        {
            file.timeoutStart.reset();
        }
        if (file.execStart.empty() || (!isOneshot && file.execStart.size() > 1))
        {
            // systemd says no more than that the file is bad.
            throw std::invalid_argument("");
        }
    }

    std::string specified(const std::string& value) const
    {
        return bmcsim::specified(value, unit);
    }

    /** As systemd: a specifier stands for one word at most. */
    std::vector<std::string> specifiedWords(const std::string& value) const
    {
        auto words = wordsOf(value);
        for (auto& word : words)
        {
            word = specified(word);
        }
        return words;
    }

    UnitFile::Condition condition(const std::string& type,
                                  std::string value) const
    {
        UnitFile::Condition made{type, false, false, ""};
        made.triggers = value.starts_with('|');
        value.erase(0, made.triggers ? 1 : 0);
        made.isNegated = value.starts_with('!');
        value.erase(0, made.isNegated ? 1 : 0);
        checkPath(value, value);
        made.parameter = specified(value);
        return made;
    }

    UnitFile::Command command(std::string value) const
    {
        UnitFile::Command made;
        made.ignoresFailure = value.starts_with('-');
        value.erase(0, made.ignoresFailure ? 1 : 0);
        made.words = specifiedWords(value);
        checkPath(made.words.empty() ? "" : made.words.front(), value);
        if (std::ranges::find(made.words, ";") != made.words.end())
        {
            failAsUnknown("';' between commands");
        }
        if (std::ranges::any_of(made.words, holdsVariable))
        {
            failAsUnknown("variables in commands");
        }
        return made;
    }

    static void checkPath(const std::string& path, const std::string& value)
    {
        if (!path.starts_with('/'))
        {
            throw std::invalid_argument("'" + value +
                                        "' does not begin with a path");
        }
    }

    std::string output(const std::string& value) const
    {
        if (!value.starts_with("append:/"))
        {
            failAsUnknown("'" + value + "'");
        }
        return specified(value);
    }

    void addVariables(const std::string& value)
    {
        for (const auto& variable : specifiedWords(value))
        {
            const auto name = variable.find('=');
            if (name == 0 || name == std::string::npos)
            {
                throw std::invalid_argument("'" + variable +
                                            "' is no variable");
            }
            setVariable(file.environment, variable);
        }
    }

    /** As systemd: what is no unit's name, or its own, counts for nothing. */
    void addUnits(std::vector<std::string>& names, const std::string& value)
    {
        for (const auto& name : specifiedWords(value))
        {
            if (unitText::isValidName(name) && name != unit)
            {
                names.push_back(name);
            }
        }
    }

    using Set = std::function<void(Reader&, const std::string&)>;
    static const std::map<std::string, Set> settings;

    UnitFile& file;
    const std::string& unit;
    bool hasTimeoutStart = false;
};

const std::map<std::string, Reader::Set> Reader::settings{
    {"[Unit]Description",
     [](Reader& r, const std::string& v) {
         r.file.description = r.specified(v);
     }},
    // Units of the simulated BMC have none.
    {"[Unit]DefaultDependencies", [](Reader&, const std::string&) {}},
    {"[Unit]After",
     [](Reader& r, const std::string& v) { r.addUnits(r.file.after, v); }},
    {"[Unit]Requires",
     [](Reader& r, const std::string& v) {
         r.addUnits(r.file.requirements, v);
     }},
    {"[Unit]ConditionPathExists",
     [](Reader& r, const std::string& v) {
         r.file.conditions.insert(r.file.conditions.begin(),
                                  r.condition("ConditionPathExists", v));
     }},
    {"[Unit]AssertPathExists",
     [](Reader& r, const std::string& v) {
         r.file.asserts.insert(r.file.asserts.begin(),
                               r.condition("AssertPathExists", v));
     }},
    {"[Service]Type", [](Reader& r, const std::string& v) { r.file.type = v; }},
    {"[Service]ExecCondition",
     [](Reader& r, const std::string& v) {
         r.file.execCondition.push_back(r.command(v));
     }},
    {"[Service]ExecStartPre",
     [](Reader& r, const std::string& v) {
         r.file.execStartPre.push_back(r.command(v));
     }},
    {"[Service]ExecStart",
     [](Reader& r, const std::string& v) {
         r.file.execStart.push_back(r.command(v));
     }},
    {"[Service]RemainAfterExit",
     [](Reader& r, const std::string& v) {
         r.file.remainsAfterExit = truth(v);
     }},
    {"[Service]TimeoutStartSec",
     [](Reader& r, const std::string& v) {
         r.file.timeoutStart = limitFrom(v);
         r.hasTimeoutStart = true;
     }},
    {"[Service]TimeoutStopSec",
     [](Reader& r, const std::string& v) {
         r.file.timeoutStop = limitFrom(v);
     }},
    {"[Service]SuccessExitStatus",
     [](Reader& r, const std::string& v) {
         for (const auto& word : wordsOf(v))
         {
             r.file.successStatuses.push_back(exitStatusFrom(word));
         }
     }},
    {"[Service]Environment",
     [](Reader& r, const std::string& v) { r.addVariables(v); }},
    {"[Service]StandardOutput",
     [](Reader& r, const std::string& v) {
         r.file.standardOutput = r.output(v);
     }},
    {"[Service]StandardError",
     [](Reader& r, const std::string& v) {
         r.file.standardError = r.output(v);
     }},
};

/** Names whose folders add to a unit: "a-b@c.service" of itself and of
 *  "a-@c.service".
 */
std::vector<std::string> prefixesOf(const std::string& unit)
{
    std::vector<std::string> names{unit};
    const auto end = std::min(unit.find('@'), unit.rfind('.'));
    for (auto dash = unit.find('-'); dash < end;
         dash = unit.find('-', dash + 1))
    {
        names.push_back(unit.substr(0, dash + 1) + unit.substr(end));
    }
    return names;
}

/** Refuses a unit that has such a folder: it would not do what that says. */
void checkFolders(const std::filesystem::path& folder, const std::string& unit)
{
    auto names = prefixesOf(unit);
    std::ranges::move(prefixesOf(UnitName(unit).unitTemplate),
                      std::back_inserter(names));
    names.emplace_back("service");
    for (const auto& name : names)
    {
        for (const auto* kind : {".d", ".wants", ".requires"})
        {
            std::error_code ignored;
            if (std::filesystem::is_directory(folder / (name + kind), ignored))
            {
                failAsUnknown("the folder " + name + kind);
            }
        }
    }
}

/** As systemd, that of the instance before the template. */
std::filesystem::path pathOf(const std::filesystem::path& folder,
                             const std::string& unit)
{
    const auto ofTemplate = UnitName(unit).unitTemplate;
    const auto own = folder / unit;
    std::error_code ignored;
    return ofTemplate.empty() ||
                   exists(std::filesystem::symlink_status(own, ignored))
               ? own
               : folder / ofTemplate;
}

} // namespace

UnitFile UnitFile::load(const std::filesystem::path& folder,
                        const std::string& unit)
{
    UnitFile file;
    file.description = unit;
    const auto path = pathOf(folder, unit);
    std::error_code ignored;
    const auto type = std::filesystem::symlink_status(path, ignored).type();
    if (!unit.ends_with(".service") ||
        type == std::filesystem::file_type::not_found)
    {
        file.loadState = "not-found";
        return file;
    }
    file.path = path;
    // A link to /dev/null, or an empty file.
    if (!std::filesystem::is_regular_file(path, ignored) ||
        std::filesystem::is_empty(path, ignored))
    {
        file.loadState = "masked";
        return file;
    }
    std::ifstream text(path);
    try
    {
        checkFolders(folder, unit);
        Reader(file, unit).read(text);
    }
    catch (const std::logic_error& error)
    {
        file.loadState = "bad-setting";
        file.error = error.what();
    }
    return file;
}

} // namespace bmcsim
