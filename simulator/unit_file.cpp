// SPDX-License-Identifier: Apache-2.0
#include "unit_file.hpp"

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
        const auto value = text[i] == '%' && i + 1 < text.size()
                               ? values.find(text[i + 1])
                               : values.end();
        if (value == values.end())
        {
            result += text[i];
            continue;
        }
        result += value->second;
        ++i;
    }
    return result;
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
        if (c == '\\' && i + 1 < text.size())
        {
            word += text[++i];
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
            if (line.empty() || line.front() == '#' || line.front() == ';')
            {
                continue;
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
                set(section, line.substr(0, equals), line.substr(equals + 1));
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
            throw std::invalid_argument("the built-in manager does not know " +
                                        name + "=");
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
            throw std::invalid_argument(
                "the built-in manager does not know Type=" + file.type);
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
        made.parameter = specified(value);
        return made;
    }

    UnitFile::Command command(std::string value) const
    {
        UnitFile::Command made;
        made.ignoresFailure = value.starts_with('-');
        value.erase(0, made.ignoresFailure ? 1 : 0);
        made.words = specifiedWords(value);
        if (made.words.empty() || !made.words.front().starts_with('/'))
        {
            throw std::invalid_argument("'" + value +
                                        "' does not begin with a path");
        }
        return made;
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
     [](Reader& r, const std::string& v) {
         std::ranges::move(r.specifiedWords(v),
                           std::back_inserter(r.file.environment));
     }},
    {"[Service]StandardOutput",
     [](Reader& r, const std::string& v) {
         r.file.standardOutput = r.specified(v);
     }},
    {"[Service]StandardError",
     [](Reader& r, const std::string& v) {
         r.file.standardError = r.specified(v);
     }},
};

} // namespace

UnitFile UnitFile::load(const std::filesystem::path& folder,
                        const std::string& unit)
{
    UnitFile file;
    file.description = unit;
    const auto ofTemplate = UnitName(unit).unitTemplate;
    const auto path = folder / (ofTemplate.empty() ? unit : ofTemplate);
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
