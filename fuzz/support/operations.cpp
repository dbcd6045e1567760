// SPDX-License-Identifier: Apache-2.0
#include "operations.hpp"

#include "../../tests/support/as_text.hpp"
#include "../../tests/support/cpld_manager.hpp"
#include "../../tests/support/firmware_information.hpp"
#include "../../tests/support/host.hpp"
#include "../../tests/support/security_manager.hpp"
#include "../../tests/support/settings.hpp"
#include "../../tests/support/systemd_manager.hpp"
#include "target.hpp"

#include <algorithm>

namespace fuzz
{

namespace
{

using test::asText;
namespace cpld = test::cpld_manager;
using Ways = std::vector<Calls>;

const std::string anyText = "...";
const std::string out = "out: ...";
/** Flushed or not. */
const std::string err = "err...";
const std::string silent;

const Ending callNotCreated{"SdBusError sd_bus_message_new_method_call: ...",
                            anyText};
const Ending notExamined{"filesystem_error", silent};
const Ending notAText{"bad_variant_access", silent};

/** Of what a service judges, or systemd starts. */
const std::vector<Ending> judged{{"0", out}, {"-1", out}, {"-5", err}};

std::vector<Ending> operator+(std::vector<Ending> some,
                              const std::vector<Ending>& more)
{
    some.insert(some.end(), more.begin(), more.end());
    return some;
}

/** A text as it is sent, and as a C library sees it. */
std::string sent(const std::string& text)
{
    return text.c_str();
}

template <auto operation>
std::string verify(Library& library, const Arguments& given)
{
    return asText(
        (library.*operation)(given.path, given.purpose, given.component));
}

template <auto operation>
std::string upload(Library& library, const Arguments& given)
{
    return asText((library.*operation)(given.path, {}, given.component));
}

template <auto operation>
std::string ofPath(Library& library, const Arguments& given)
{
    return asText((library.*operation)(given.path));
}

template <auto operation>
std::string ofImage(Library& library, const Arguments& given)
{
    return asText((library.*operation)(given.component, given.path));
}

std::string discover(Library& library, const Arguments&)
{
    return asText(library.getAvailableCpldCompsInfo());
}

std::string notify(Library& library, const Arguments& given)
{
    return asText(library.onCPLDNotifiedSignal(given.component));
}

std::string succeed(Library& library, const Arguments&)
{
    library.onBMCUpdateSuccess();
    library.onBIOSUpdateSuccess();
    library.onCPLDUpdateSuccess();
    return "0";
}

template <const char* member>
Ways verification(const Arguments& given)
{
    return {{test::security_manager::call(member, sent(given.path))}};
}

std::string unitOf(std::string words, const std::string& path)
{
    for (const auto character : path)
    {
        words += character == '/' ? '-' : character;
    }
    return words + ".service";
}

std::string bmcUnit(const Arguments& given)
{
    return unitOf(R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)", given.path);
}

std::string biosUnit(const Arguments& given)
{
    return unitOf(R"(obmc-flash-host-bios@bios_rot2\x20update\x20)",
                  given.path);
}

std::string cpldUnit(const Arguments& given)
{
    return unitOf(R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20)" +
                      given.component + R"(\x20)",
                  given.path);
}

/** A unit that is not UTF-8 is left out of the call. */
template <auto unit>
Ways launch(const Arguments& given)
{
    return {{test::systemd_manager::call(sent(unit(given)))},
            {"org.freedesktop.systemd1 /org/freedesktop/systemd1 "
             R"(org.freedesktop.systemd1.Manager.StartUnit(s) "replace")"}};
}

std::string recorded(const char* property)
{
    return test::firmware_information::call(property, anyText);
}

constexpr char verifyBmc[] = "verifyBmc";
constexpr char verifyBios[] = "verifyBios";
constexpr char verifyCapsule[] = "verifyCapsule";

Ways bmcUpload(const Arguments& given)
{
    return {{test::security_manager::call(verifyBmc, sent(given.path)),
             recorded("stagingBMC")}};
}

Ways biosUpload(const Arguments& given)
{
    const auto path = sent(given.path);
    return {{test::host::call(), test::security_manager::call(verifyBios, path),
             recorded("stagingBIOS"), test::settings::call()},
            {test::security_manager::call(verifyCapsule, path),
             recorded("stagingCapsuleMCU"), test::settings::call()}};
}

Ways board(const Arguments&)
{
    return {{test::host::call()}};
}

Ways boardOfImage(const Arguments& given)
{
    return {{"get_bios_board_id " + sent(given.path)}};
}

Ways bmcVersion(const Arguments& given)
{
    return {{"get_bmc_version_string_from_image " + sent(given.path)}};
}

Ways biosVersion(const Arguments& given)
{
    const auto path = sent(given.path);
    const auto kind = "check_bios_seamless_capsule " + path;
    return {{kind, "get_bios_version_from_image " + path + " 64 64",
             "get_bios_board_id " + path},
            {kind, "get_capsule_version_from_image " + path + " 64 ..."}};
}

Ways cpldVerification(const Arguments& given)
{
    return {{cpld::registryCall(),
             cpld::call(anyText, "verifyCPLD", sent(given.path))}};
}

/** Of a directory an entry is examined. */
Ways examination(const Arguments& given)
{
    return {{cpld::registryCall(), cpld::call(anyText, "readImageFileInfo",
                                              sent(given.path) + anyText)}};
}

Ways cpldUpload(const Arguments& given)
{
    auto way = examination(given).front();
    const auto more = cpldVerification(given).front();
    way.insert(way.end(), more.begin(), more.end());
    return {way};
}

Ways runningVersion(const Arguments& given)
{
    return {{cpld::call(sent(given.path), "readMBVersionString")}};
}

Ways discovery(const Arguments&)
{
    constexpr auto mostDevices = 64;
    Calls way(1 + mostDevices, cpld::call(anyText, "readMBVersionString"));
    way.front() = cpld::registryCall();
    return {way};
}

} // namespace

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> all{
        {"VerifyBMC", verify<&Library::VerifyBMC>,
         judged + std::vector<Ending>{{"-22", out}, {"invalid_argument", out}},
         verification<verifyBmc>},
        {"VerifyBIOS", verify<&Library::VerifyBIOS>, judged,
         verification<verifyBios>},
        {"VerifyCapsule", verify<&Library::VerifyCapsule>, judged,
         verification<verifyCapsule>},
        {"VerifyCPLD", verify<&Library::VerifyCPLD>,
         judged +
             std::vector<Ending>{{"-2", err}, {"-22", err}, callNotCreated},
         cpldVerification},
        {"UpdateBMC",
         verify<&Library::UpdateBMC>,
         {{"0", out}, {"-5", err}},
         launch<bmcUnit>,
         nullptr,
         bmcUnit},
        {"UpdateBIOS",
         verify<&Library::UpdateBIOS>,
         {{"0", out}, {"-5", err}},
         launch<biosUnit>,
         nullptr,
         biosUnit},
        {"UpdateCPLD", verify<&Library::UpdateCPLD>, judged, launch<cpldUnit>,
         nullptr, cpldUnit},
        {"onCPLDNotifiedSignal", notify, {{"0", out}}},
        {"processUploadBmcImage",
         upload<&Library::processUploadBmcImage>,
         {{"{}", err}, {R"({extendedVersion: "", version: "..."})", out}},
         bmcUpload,
         bmcVersion},
        {"processUploadBiosImage",
         upload<&Library::processUploadBiosImage>,
         {{"{}", err},
          {R"({extendedVersion: "", version: "..."})", anyText},
          {R"({applyTime: "...", extendedVersion: "", version: "..."})", out}},
         biosUpload,
         biosVersion},
        {"processUploadCpldImage",
         upload<&Library::processUploadCpldImage>,
         {{"{}", err},
          {R"({exposeName: "Staging_...", extendedVersion: "...", )"
           R"(version: "..."})",
           out},
          {"bad_variant_access", out},
          {"filesystem_error", out},
          callNotCreated},
         cpldUpload},
        {"getCPLDImageFileInfo",
         ofImage<&Library::getCPLDImageFileInfo>,
         {{"{}", anyText}, {"{...: ...}", silent}, callNotCreated, notExamined},
         examination},
        {"getCPLDVersionString",
         ofPath<&Library::getCPLDVersionString>,
         {{R"("")", anyText}, {R"("...")", silent}, callNotCreated},
         runningVersion},
        {"getCPLDImageFileVersionString",
         ofImage<&Library::getCPLDImageFileVersionString>,
         {{R"("")", err},
          {R"("...")", silent},
          callNotCreated,
          notExamined,
          notAText},
         examination},
        {"getAvailableCpldCompsInfo",
         discover,
         {{"{}", anyText}, {"{...: ...}", anyText}},
         discovery},
        {"compare_boardID",
         ofPath<&Library::compare_boardID>,
         {{"true", silent}, {"false", err}},
         board,
         boardOfImage},
        {"successes", succeed, {{"0", out}}},
    };
    return all;
}

const Operation& operationNamed(const std::string& name)
{
    const auto found = std::ranges::find(operations(), name, &Operation::name);
    if (found == operations().end())
    {
        fail("no operation " + name);
    }
    return *found;
}

} // namespace fuzz
