// SPDX-License-Identifier: Apache-2.0
#include "../support/host.hpp"
#include "scripted_board.hpp"

// What is said of a value of another type than the one that was expected.

using namespace test;

namespace
{

using Append = std::function<void(sd_bus_message*)>;

template <typename... Values>
Append variant(const char* type, Values... values)
{
    return [=](sd_bus_message* reply) {
        check(sd_bus_message_append(reply, "v", type, values...), "append");
    };
}

/** A board identifier, and what is said of it. */
struct Told
{
    std::string name;
    Append append;
    std::string words;
};

class ToldValue : public ScriptedBoard
{
  protected:
    std::string image = images.make(
        "bios", {"--kind", "bios", "--version", "1", "--board", "1"});
};

class ToldValueOfType :
    public ToldValue,
    public testing::WithParamInterface<Told>
{};

TEST_P(ToldValueOfType, IsShownWithItsTypeWhereItIs)
{
    offer(host::service, {host::get(reply::built(GetParam().append))});

    EXPECT_EQ(fwmgr({"upload", "bios", image}),
              refusal(callFailed,
                      image + ": could not be compared with this board",
                      {"reading the identifier of this board",
                       {"boardID is mismatch"},
                       "",
                       "com.WEXA.Host tells a BoardId " + GetParam().words +
                           ", where 'q' is expected: update the host "
                           "service"}));
}

INSTANTIATE_TEST_SUITE_P(
    Types, ToldValueOfType,
    testing::Values(
        Told{"Nothing", [](sd_bus_message*) {}, "without a value"},
        Told{"ABoolean", variant("b", 1), "of type 'b' (true)"},
        Told{"AByte", variant("y", 255), "of type 'y' (255)"},
        Told{"AShort", variant("n", -1), "of type 'n' (-1)"},
        Told{"AnInteger", variant("i", -7), "of type 'i' (-7)"},
        Told{"AnUnsignedInteger", variant("u", 4000000000U),
             "of type 'u' (4000000000)"},
        Told{"ALongInteger", variant("x", std::int64_t{-5000000000}),
             "of type 'x' (-5000000000)"},
        Told{"AnUnsignedLongInteger",
             variant("t", std::uint64_t{18446744073709551615U}),
             "of type 't' (18446744073709551615)"},
        Told{"ADouble", variant("d", 3.5), "of type 'd' (3.5)"},
        Told{"AnObjectPath", variant("o", "/board/1"),
             "of type 'o' (\"/board/1\")"},
        Told{"ASignature", variant("g", "as"), "of type 'g' (\"as\")"},
        Told{"AVariant", variant("v", "s", "1"), "of type 's' (\"1\")"},
        Told{"AnArray", variant("as", 1, "one"), "of type 'as'"},
        Told{"AStructure", variant("(qs)", 1, "one"), "of type '(qs)'"},
        Told{"ATextThatForgesALine", variant("s", "1\nhint: none"),
             "of type 's' (\"1\\x0ahint: none\")"},
        Told{"ALongText",
             [](sd_bus_message* reply) {
                 variant("s", std::string(101, 'x').c_str())(reply);
             },
             "of type 's' (\"" + std::string(100, 'x') + "...\")"}),
    [](const auto& row) { return row.param.name; });

/** The answer of a Get is a variant: here it is not. */
TEST_F(ToldValue, IsShownWithItsTypeWhereItIsNotEvenAProperty)
{
    offer(host::service, {host::get(reply::built([](sd_bus_message* reply) {
              check(sd_bus_message_append(reply, "q", 1), "append");
          }))});

    EXPECT_THAT(fwmgr({"upload", "bios", image}).err,
                testing::HasSubstr("\n  call:     Get BoardId of "
                                   "com.WEXA.Host: the answer is of type 'q' "
                                   "(1), where 'v' is expected\n"));
}

class VersionOfAnImage : public ScriptedBoard
{
  protected:
    /** `upload` where the device tells a version like this. */
    std::string hintFor(const cpld_manager::Properties& version)
    {
        offer(cpld_manager::service,
              {cpld_manager::bindedDevices(
                   cpld_manager::registry({{"MB_CPLD", "/cpld", "jtag", {}}})),
               cpld_manager::method("/cpld", "readImageFileInfo",
                                    cpld_manager::properties({version}))});
        const auto image = images.bmc("1");
        const auto done =
            fwmgr({"upload", "cpld", image, "--component", "MB_CPLD"});
        EXPECT_EQ(done.status, callFailed);
        return done.err.substr(done.err.find("hint:"));
    }
};

TEST_F(VersionOfAnImage, IsShownWithItsTypeWhereTheLibraryReadsIt)
{
    EXPECT_EQ(
        hintFor(cpld_manager::property("versionString", "x", std::int64_t{-1})),
        "hint:     the device of MB_CPLD tells a versionString of type 'x' "
        "(-1), where 's' is expected: update the CPLD update manager\n");
}

TEST_F(VersionOfAnImage, IsNotGuessedWhereTheLibraryDoesNotReadIt)
{
    EXPECT_EQ(
        hintFor(cpld_manager::property("versionString", "d", 1.5)),
        "hint:     the device of MB_CPLD tells a versionString that is not a "
        "string, as it is expected to be: update the CPLD update manager\n");
}

TEST_F(ToldValue, IsNotShownByTheDoctorAsOneOfTheTypeThatTheServiceDescribes)
{
    offer(host::service,
          {host::get(reply::built(variant("s", "seven"))),
           {host::path, "org.freedesktop.DBus.Introspectable", "Introspect",
            reply::text("<node><interface name='com.WEXA.Host'>"
                        "<property name='BoardId' type='q' access='read'/>"
                        "</interface></node>")}});

    const auto done = fwmgr({"doctor", "bios"});
    EXPECT_EQ(done.status, notReady);
    EXPECT_THAT(
        done.out,
        testing::HasSubstr("host\n"
                           "  OK       com.WEXA.Host is on the bus\n"
                           "  FAILURE  BoardId is told of type 's' "
                           "(\"seven\"), where 'q' is expected: no BIOS image "
                           "can be uploaded, since its board cannot be "
                           "compared with this one\n"
                           "           -> update the service\n"));
}

} // namespace
