// SPDX-License-Identifier: Apache-2.0
#include "../support/cpld_manager.hpp"
#include "injections.hpp"

namespace test
{

/** The step that fails to read a value of another type. */
static std::string mismatch(const Platform&, const CallSite& site)
{
    const auto step = [&]() -> std::string {
        switch (site.reads)
        {
            case Reads::boolean:
                return "sd_bus_message_read_basic bool";
            case Reads::text:
                return "sd_bus_message_read_basic string";
            case Reads::numberVariant:
            case Reads::textVariant:
                return "sd_bus_message_skip variant";
            default:
                return "sd_bus_message_enter_container emplace_container";
        }
    }();
    return step + ": System.Error.ENXIO: No such device or address";
}

/** An error of the service, its name and text. */
static Fault error(const std::string& name, const std::string& error,
                   const std::string& text)
{
    return {.name = name,
            .concerns = everySite,
            .inject = answering(reply::error(error, text)),
            .ending = &CallSite::failure,
            .failure = callFailed(error + ": " + text)};
}

static Fault ignored(const std::string& name, Concerns concerns,
                     Injection injection)
{
    return {.name = name,
            .concerns = std::move(concerns),
            .inject = std::move(injection),
            .ending = &CallSite::success};
}

static Fault refused(const std::string& name, Reads reads, Injection injection)
{
    return {.name = name,
            .concerns = sitesReading({reads}),
            .inject = std::move(injection),
            .ending = &CallSite::refusal};
}

static Fault unreadable(const std::string& name, Concerns concerns,
                        Injection injection)
{
    return {.name = name,
            .concerns = std::move(concerns),
            .inject = std::move(injection),
            .ending = &CallSite::failure,
            .failure = mismatch};
}

static const auto isBoolean = sitesReading({Reads::boolean});
static const auto isText = sitesReading({Reads::text});
static const auto isNothing = sitesReading({Reads::nothing});
static const auto isVariant =
    sitesReading({Reads::numberVariant, Reads::textVariant});
static const auto isRegistry = sitesReading({Reads::registry});
static const auto isMap = sitesReading({Reads::registry, Reads::properties});

static Reply withTextBehind(const CallSite& site, const std::string& text)
{
    return reply::built([site, text](sd_bus_message* reply) {
        site.reply(reply);
        check(sd_bus_message_append(reply, "s", text.c_str()), "append");
    });
}

static std::vector<Fault> errors()
{
    return {
        error("WithAnErrorThatIsKnown",
              "org.freedesktop.DBus.Error.AccessDenied", "not for you"),
        error("WithAnUnknownError", "com.wexa.Error.Odd", "very odd"),
        error("WithAnErrorWithoutAText", "com.wexa.Error.Odd", ""),
        error("WithAnErrorOfManyLines", "com.wexa.Error.Odd", "one\ntwo {} %s"),
        error("WithAVeryLongError", "com.wexa.Error.Odd", mebibyte),
    };
}

static std::vector<Fault> otherTypes()
{
    const auto notBoolean = [](const std::string& what, Injection injection) {
        return unreadable("WithA" + what + "ForABoolean", isBoolean,
                          std::move(injection));
    };
    const auto notText = [](const std::string& what, Injection injection) {
        return unreadable("WithA" + what + "ForAText", isText,
                          std::move(injection));
    };
    const auto notVariant = [](const std::string& what, Injection injection) {
        return unreadable("WithA" + what + "ForAVariant", isVariant,
                          std::move(injection));
    };
    return {
        notBoolean("Text", answeringWith("s", "true")),
        notBoolean("Number", answeringWith("u", 1U)),
        notBoolean("Byte", answeringWith("y", 1)),
        notBoolean("JobPath", answeringWith("o", "/job")),
        notBoolean("Variant", answeringWith("v", "b", 1)),
        notBoolean("Structure", answeringWith("(b)", 1)),
        notBoolean("List", answeringWith("ab", 1, 1)),
        unreadable("WithNothingForABoolean", isBoolean,
                   answering(reply::nothing())),
        notText("Boolean", answeringWith("b", 1)),
        notText("Path", answeringWith("o", "/path")),
        notText("Signature", answeringWith("g", "s")),
        notText("Variant", answeringWith("v", "s", "7")),
        notText("List", answeringWith("as", 1, "7")),
        unreadable("WithNothingForAText", isText, answering(reply::nothing())),
        notVariant("Text", answeringWith("s", "7")),
        notVariant("Number", answeringWith("q", 7)),
        notVariant("ListOfVariants", answeringWith("av", 1, "q", 7)),
        ignored("WithAnyValue", isNothing, answeringWith("b", 0)),
    };
}

/** Variants hold another type: as if the property had no value. */
static std::vector<Fault> otherProperties()
{
    const auto odd = [](const std::string& name, Reads reads, auto... value) {
        return refused(name, reads, answeringWith("v", value...));
    };
    return {
        odd("WithATextForANumber", Reads::numberVariant, "s", "7"),
        odd("WithASignedNumber", Reads::numberVariant, "n", 7),
        odd("WithAWiderNumber", Reads::numberVariant, "u", 7U),
        odd("WithAVariantInTheVariant", Reads::numberVariant, "v", "q", 7),
        odd("WithANumberForAText", Reads::textVariant, "u", 7U),
        odd("WithAPathForAText", Reads::textVariant, "o", "/path"),
        odd("WithAListOfTexts", Reads::textVariant, "as", 1, "OnReset"),
        odd("WithAStructure", Reads::textVariant, "(ss)", "On", "Reset"),
        odd("WithAnUnheardOfApplyTime", Reads::textVariant, "s", "Never"),
        odd("WithAVeryLongApplyTime", Reads::textVariant, "s",
            mebibyte.c_str()),
        refused("WithoutAVariantForANumber", Reads::numberVariant,
                answering(reply::nothing())),
        refused("WithoutAVariantForAText", Reads::textVariant,
                answering(reply::nothing())),
    };
}

/** The reply is another type at one of its levels. */
static std::vector<Fault> malformedMaps()
{
    const auto badMap = [](const std::string& name, Injection injection) {
        return unreadable(name, isMap, std::move(injection));
    };
    const auto badRegistry = [](const std::string& name, Injection injection) {
        return unreadable(name, isRegistry, std::move(injection));
    };
    return {
        badMap("WithNothingForAMap", answering(reply::nothing())),
        badMap("WithATextForAMap", answeringWith("s", "MB")),
        badMap("WithAListForAMap", answeringWith("as", 1, "MB")),
        badMap("WithAnEmptyMapOfTexts", answeringWith("a{ss}", 0)),
        badMap("WithNumbersForKeys", answeringWith("a{iv}", 1, 1, "s", "1")),
        badMap("WithStructuresForEntries",
               answeringWith("a(sv)", 1, "MB", "s", "1")),
        badMap("WithAVariantAroundTheMap",
               answeringWith("v", "a{sv}", 1, "MB", "s", "1")),
        badRegistry("WithPropertiesForDevices", answeringWith("a{sv}", 0)),
        badRegistry("WithAVariantForADevice",
                    answeringWith("a{sv}", 1, "MB", "s", cpldDevice)),
        badRegistry("WithADeviceOfTwoTexts",
                    answeringWith("a{s(ss)}", 1, "MB", cpldDevice, "jtag")),
        badRegistry("WithADeviceWithoutADriver",
                    answeringWith("a{s(sa{sv})}", 1, "MB", cpldDevice, 0)),
        badRegistry(
            "WithAPathForADriver",
            answeringWith("a{s(soa{sv})}", 1, "MB", cpldDevice, "/d", 0)),
        badRegistry("WithANumberForAPath",
                    answeringWith("a{s(usa{sv})}", 1, "MB", 1U, "jtag", 0)),
        badRegistry(
            "WithPropertiesThatAreTexts",
            answeringWith("a{s(ssa{ss})}", 1, "MB", cpldDevice, "jtag", 0)),
        badRegistry(
            "WithPropertiesThatAreAList",
            answeringWith("a{s(ssa(sv))}", 1, "MB", cpldDevice, "jtag", 0)),
        badRegistry("WithADeviceOfFourFields",
                    answeringWith("a{s(ssa{sv}s)}", 1, "MB", cpldDevice, "jtag",
                                  0, "more")),
    };
}

static Reply registryOf(const std::vector<cpld_manager::Device>& devices)
{
    return cpld_manager::registry(devices);
}

static cpld_manager::Device
boundDevice(std::vector<cpld_manager::Properties> properties)
{
    return {"MB", cpldDevice, "jtag", std::move(properties)};
}

static const auto slot = cpld_manager::property("slot", "u", std::uint32_t{3});
static const auto zero = cpld_manager::property("odd", "i", std::int32_t{0});

/** A property of a type that the library does not list reads as zero. */
static Fault unlisted(const std::string& name, cpld_manager::Properties odd)
{
    return ignored(
        "WithAPropertyThatIs" + name, isMap,
        answering(Answer{[odd](const CallSite& site) {
            return site.reads == Reads::registry
                       ? registryOf({boundDevice({odd, slot})})
                       : cpld_manager::properties(
                             {odd, cpld_manager::text("versionString", "1.2")});
        }}));
}

template <typename... Values>
static Fault unlisted(const std::string& name, const char* types,
                      Values... values)
{
    return unlisted(name, [=](sd_bus_message* message) {
        check(sd_bus_message_append(message, "{sv}", "odd", types, values...),
              "append");
    });
}

static std::vector<Fault> oddMaps()
{
    return {
        unlisted("ADouble", "d", 1.5),
        unlisted("AByte", "y", 7),
        unlisted("AShortNumber", "n", 7),
        unlisted("AnUnsignedShortNumber", "q", 7),
        unlisted("APath", "o", "/path"),
        unlisted("ASignature", "g", "s"),
        unlisted("AList", "as", 2, "a", "b"),
        unlisted("AnEmptyList", "as", 0),
        unlisted("AMap", "a{sv}", 1, "k", "s", "v"),
        unlisted("AStructure", "(is)", 1, "a"),
        unlisted("AVariant", "v", "s", "a"),
        ignored("WithTheDeviceTwice", isRegistry,
                answering(registryOf({boundDevice({zero, slot}),
                                      {"MB", "/elsewhere", "i2c", {}}}))),
        ignored(
            "WithPropertiesTwice", isMap,
            answering(Answer{[](const CallSite& site) {
                const auto again = cpld_manager::text("odd", "later");
                return site.reads == Reads::registry
                           ? registryOf({boundDevice(
                                 {zero, slot, again,
                                  cpld_manager::text("slot", "later")})})
                           : cpld_manager::properties(
                                 {zero,
                                  cpld_manager::text("versionString", "1.2"),
                                  again});
            }})),
        refused("WithNoDevices", Reads::registry, answering(registryOf({}))),
        refused("WithNoProperties", Reads::properties,
                answering(cpld_manager::properties({}))),
    };
}

static std::vector<Fault> answers()
{
    return {
        refused("WithANo", Reads::boolean, answeringWith("b", 0)),
        refused("WithAnEmptyText", Reads::text, answeringWith("s", "")),
        ignored("WithMoreThanExpected", everySite,
                answering(Answer{[](const CallSite& site) {
                    return withTextBehind(site, "more");
                }})),
        ignored("WithAMebibyteMoreThanExpected", everySite,
                answering(Answer{[](const CallSite& site) {
                    return withTextBehind(site, mebibyte);
                }})),
    };
}

std::vector<Fault> replyFaults()
{
    std::vector<Fault> all;
    for (const auto& some : {errors(), otherTypes(), otherProperties(),
                             malformedMaps(), oddMaps(), answers()})
    {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace test
