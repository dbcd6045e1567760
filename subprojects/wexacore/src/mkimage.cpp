// SPDX-License-Identifier: Apache-2.0
#include "image_writer.hpp"
#include "whole_file.hpp"

#include <CLI/CLI.hpp>
#include <plain.hpp>

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <stdexcept>

// wexa-mkimage: makes firmware images for the simulated platform, sound ones
// and ones that are broken on purpose.

namespace
{

constexpr int writingFailed = 1;
constexpr int wrongUsage = 2;

struct Options
{
    std::string kind;
    std::string version;
    std::optional<std::string> date;
    int board = 0;
    std::optional<std::uint16_t> capsuleKind;
    std::string payloadFile;
    std::uint64_t size = 65536;
    std::uint32_t seed = 1;
    std::string fault;
    bool force = false;
    std::string output;
};

const std::map<std::string, image::Kind> kinds{
    {"bmc", image::Kind::bmc},
    {"bios", image::Kind::bios},
    {"capsule", image::Kind::capsule},
    {"cpld", image::Kind::cpld},
};

const std::map<std::string, image::Fault> faults{
    {"empty", image::Fault::empty},
    {"header-only", image::Fault::headerOnly},
    {"truncated", image::Fault::truncated},
    {"trailing", image::Fault::trailing},
    {"magic", image::Fault::magic},
    {"kind", image::Fault::unknownKind},
    {"no-version", image::Fault::noVersion},
    {"unprintable-version", image::Fault::unprintableVersion},
    {"version-length", image::Fault::versionLength},
    {"payload-length", image::Fault::payloadLength},
    {"digest", image::Fault::digest},
};

/** A check that a text is one of a table's names. */
template <typename Value>
CLI::Validator nameIn(const std::map<std::string, Value>& table)
{
    return {[&table](const std::string& text) -> std::string {
                if (table.contains(text))
                {
                    return "";
                }
                std::string names;
                for (const auto& [name, value] : table)
                {
                    names += (names.empty() ? "" : ", ") + name;
                }
                return "no '" + text + "'; there are " + names;
            },
            "NAME"};
}

/** A check that a text fits a field of the format. */
CLI::Validator textUpTo(std::size_t limit, std::size_t least)
{
    return {[=](const std::string& text) -> std::string {
                return text.size() >= least && text.size() <= limit &&
                               image::isPrintable(text)
                           ? ""
                           : "must be " + std::to_string(least) + " to " +
                                 std::to_string(limit) +
                                 " printable ASCII characters";
            },
            "TEXT"};
}

/** A check of a command line's option: a whole number within these bounds. Its
 *  text is the same with every release of CLI11. */
CLI::Validator between(std::uint64_t least, std::uint64_t most)
{
    return {[=](const std::string& text) {
                std::uint64_t value{};
                if (CLI::detail::lexical_cast(text, value) && value >= least &&
                    value <= most)
                {
                    return std::string();
                }
                return std::string("Value ")
                    .append(text)
                    .append(" not in range ")
                    .append(std::to_string(least))
                    .append(" to ")
                    .append(std::to_string(most));
            },
            ""};
}

void declare(CLI::App& app, Options& options)
{
    app.add_option("--kind", options.kind, "Kind of firmware")
        ->required()
        ->check(nameIn(kinds))
        ->option_text("bmc|bios|capsule|cpld");
    app.add_option("--version", options.version,
                   "Version, 1 to 255 printable ASCII characters")
        ->required()
        ->check(textUpTo(image::maxVersion, 1))
        ->option_text("TEXT");
    app.add_option("--date", options.date,
                   "Build date, up to 63 characters; of a BIOS image "
                   "01/01/2024 unless given")
        ->check(textUpTo(image::maxDate, 0))
        ->option_text("TEXT");
    app.add_option("--board", options.board,
                   "Board identifier, 0 to 65535; 0 unless given")
        ->check(between(0, 65535))
        ->option_text("NUMBER");
    app.add_option("--capsule-kind", options.capsuleKind,
                   "Kind of a capsule, 1 to 3; 1 unless given")
        ->check(between(1, image::capsuleKinds))
        ->option_text("NUMBER");
    auto* payload = app.add_option("--payload", options.payloadFile,
                                   "File that becomes the payload")
                        ->option_text("FILE");
    app.add_option("--size", options.size,
                   "Bytes of a made-up payload, 1 to 268435456; 65536 unless "
                   "given")
        ->check(between(1, image::maxPayload))
        ->excludes(payload)
        ->option_text("BYTES");
    app.add_option("--seed", options.seed,
                   "The same seed makes the same payload")
        ->excludes(payload)
        ->option_text("NUMBER");
    app.add_option("--broken", options.fault,
                   "Break the image: empty, header-only, truncated, trailing, "
                   "magic, kind, no-version, unprintable-version, "
                   "version-length, payload-length, digest")
        ->check(nameIn(faults))
        ->option_text("HOW");
    app.add_flag("--force", options.force, "Replace a file that exists");
    app.add_option("OUTPUT", options.output, "The image file")
        ->required()
        ->option_text(" ");
}

std::string madeUpPayload(std::uint64_t size, std::uint32_t seed)
{
    std::mt19937 random(seed);
    std::string payload(size, '\0');
    for (auto& byte : payload)
    {
        byte = static_cast<char>(random());
    }
    return payload;
}

std::string payload(const Options& options)
{
    if (options.payloadFile.empty())
    {
        return madeUpPayload(options.size, options.seed);
    }
    auto bytes = wholeFile::read(options.payloadFile, image::maxPayload);
    if (bytes.empty())
    {
        throw std::runtime_error(options.payloadFile +
                                 " is empty; a payload needs a byte");
    }
    return bytes;
}

image::Contents contentsOf(const Options& options)
{
    const auto kind = kinds.at(options.kind);
    if (options.capsuleKind && kind != image::Kind::capsule)
    {
        throw CLI::ValidationError("--capsule-kind",
                                   "is for --kind capsule only; leave it out");
    }
    image::Contents contents;
    contents.kind = kind;
    contents.capsuleKind =
        kind == image::Kind::capsule ? options.capsuleKind.value_or(1) : 0;
    contents.board = static_cast<std::uint16_t>(options.board);
    contents.version = options.version;
    contents.date =
        options.date.value_or(kind == image::Kind::bios ? "01/01/2024" : "");
    contents.payload = payload(options);
    return contents;
}

void make(const Options& options)
{
    const auto sound = image::bytes(contentsOf(options));
    const auto made = options.fault.empty()
                          ? sound
                          : image::broken(sound, faults.at(options.fault));
    wholeFile::write(options.output, made, options.force);

    std::cout << plain::line(options.output) << ": " << made.size()
              << " bytes, version " << options.version;
    if (options.fault.empty())
    {
        std::cout << ", SHA-256 " << image::digestText(made) << '\n';
    }
    else
    {
        std::cout << ", broken on purpose\n";
    }
}

int fail(int status, const std::string& what)
{
    std::cerr << "wexa-mkimage: " << plain::line(what) << '\n';
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Makes a firmware image for the simulated platform.\n\n"
                 "Example: wexa-mkimage --kind bmc --version 2.14.0 image",
                 "wexa-mkimage");
    declare(app, options);
    try
    {
        app.parse(argc, argv);
        make(options);
    }
    catch (const CLI::CallForHelp& help)
    {
        return app.exit(help);
    }
    catch (const CLI::ParseError& error)
    {
        return fail(wrongUsage,
                    std::string(error.what()) + "; see wexa-mkimage --help");
    }
    catch (const std::system_error& error)
    {
        return fail(writingFailed,
                    error.code() == std::errc::file_exists
                        ? options.output + " exists; --force replaces it"
                        : error.what());
    }
    catch (const std::exception& error)
    {
        return fail(writingFailed, error.what());
    }
}
