// SPDX-License-Identifier: Apache-2.0
#include "operations.hpp"

#include "../tests/support/private_bus.hpp"
#include "../tests/support/systemd_manager.hpp"

#include <cerrno>
#include <stdexcept>

namespace bench
{

using namespace wexa::core;
using test::check;

namespace
{

/** What the library's services offer, as each operation asks them. */
RemoteMethod securityManager(const char* member)
{
    return {securityMgrService.c_str(), securityMgrPath.c_str(),
            securityMgrInterface.c_str(), member};
}

RemoteMethod firmwareInformation(const char* property)
{
    return {"xyz.openbmc_project.FwInfoManager", "/xyz/openbmc_project/fwinfo",
            "xyz.openbmc_project.fwinfo.FwInfoManager", property};
}

RemoteMethod device(const std::string& path, const char* member)
{
    return {cpldUpdateMgrService.c_str(), path.c_str(),
            cpldDeviceInterface.c_str(), member};
}

constexpr RemoteMethod board{"com.WEXA.Host", "/com/WEXA/Host", "com.WEXA.Host",
                             "BoardId"};
constexpr RemoteMethod applyTime{
    "xyz.openbmc_project.Settings", "/xyz/openbmc_project/software/apply_time",
    "xyz.openbmc_project.Software.ApplyTime", "RequestedApplyTime"};

constexpr auto component = "CPLD_0";
const auto componentPath = cpldUpdateMgrPath + "/" + component;

void require(bool held)
{
    if (!held)
    {
        throw std::runtime_error("an operation does not succeed");
    }
}

const std::string& pathIn(const CpldDeviceMap& devices)
{
    return std::get<0>(devices.at(component));
}

using Operations = std::vector<Operation>;

void addVerifications(Operations& all, FWManagerInternal& manager,
                      const std::string& image)
{
    const auto judged = [image](const char* member) {
        return [=](Peer& peer) {
            require(peer.judge(securityManager(member), image.c_str()));
        };
    };
    all.push_back(
        {"VerifyBMC", 1, 8,
         [=, &manager] {
             require(manager.VerifyBMC(image, VersionPurpose::BMC, "") == 0);
         },
         judged("verifyBmc")});
    all.push_back(
        {"VerifyBIOS", 1, 8,
         [=, &manager] {
             require(manager.VerifyBIOS(image, VersionPurpose::Host, "") == 0);
         },
         judged("verifyBios")});
    all.push_back({"VerifyCapsule", 1, 8,
                   [=, &manager] {
                       require(manager.VerifyCapsule(
                                   image, VersionPurpose::Host, "") == 0);
                   },
                   judged("verifyCapsule")});
}

/** @param command  what stands before the path in the unit's instance */
auto started(const std::string& command)
{
    const auto unit = command + "-tmp-image.service";
    return [=](Peer& peer) { peer.start(unit.c_str()); };
}

void addUpdates(Operations& all, FWManagerInternal& manager)
{
    constexpr auto path = "/tmp/image";
    all.push_back(
        {"UpdateBMC", 1, 8,
         [=, &manager] {
             require(manager.UpdateBMC(path, VersionPurpose::BMC, "") == 0);
         },
         started(R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)")});
    all.push_back(
        {"UpdateBIOS", 1, 8,
         [=, &manager] {
             require(manager.UpdateBIOS(path, VersionPurpose::Host, "") == 0);
         },
         started(R"(obmc-flash-host-bios@bios_rot2\x20update\x20)")});
    all.push_back(
        {"UpdateCPLD, answered true", 1, 8,
         [=, &manager] {
             require(manager.UpdateCPLD(path, VersionPurpose::Other,
                                        "boolean") == 0);
         },
         started(R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20boolean\x20)")});
    // A real systemd does, and the operation takes it for a failure.
    all.push_back(
        {"UpdateCPLD, answered by a job", 1, 8,
         [=, &manager] {
             require(manager.UpdateCPLD(path, VersionPurpose::Other,
                                        component) == -EIO);
         },
         started(R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20CPLD_0\x20)")});
}

void addBoardAndVersions(Operations& all, FWManagerInternal& manager,
                         const std::string& image)
{
    all.push_back({"compare_boardID", 1, 8,
                   [=, &manager] { require(manager.compare_boardID(image)); },
                   [](Peer& peer) { require(peer.getNumber(board) == 1); }});
    all.push_back(
        {"getCPLDVersionString", 1, 8,
         [&manager] {
             require(!manager.getCPLDVersionString(componentPath).empty());
         },
         [](Peer& peer) {
             require(!peer.text(device(componentPath, "readMBVersionString"))
                          .empty());
         }});
    all.push_back(
        {"getAvailableCpldCompsInfo, 8 CPLDs", 9, 8,
         [&manager] {
             require(manager.getAvailableCpldCompsInfo().size() == 8);
         },
         [](Peer& peer) {
             for (const auto& [name, record] : peer.devices())
             {
                 peer.text(device(std::get<0>(record), "readMBVersionString"));
             }
         }});
}

void readImage(Peer& peer, const std::string& image)
{
    const auto devices = peer.devices();
    const auto read = device(pathIn(devices), "readImageFileInfo");
    require(!peer.properties(read, image.c_str()).empty());
}

void verifyCpld(Peer& peer, const std::string& image)
{
    const auto devices = peer.devices();
    require(peer.judge(device(pathIn(devices), "verifyCPLD"), image.c_str()));
}

void addImageFiles(Operations& all, FWManagerInternal& manager,
                   const std::string& image)
{
    all.push_back(
        {"getCPLDImageFileInfo", 2, 8,
         [=, &manager] {
             require(!manager.getCPLDImageFileInfo(component, image).empty());
         },
         [=](Peer& peer) { readImage(peer, image); }});
    all.push_back(
        {"getCPLDImageFileVersionString", 2, 8,
         [=, &manager] {
             require(!manager.getCPLDImageFileVersionString(component, image)
                          .empty());
         },
         [=](Peer& peer) { readImage(peer, image); }});
    for (const auto devices : {8, 1000, 5000})
    {
        all.push_back(
            {"VerifyCPLD, " + std::to_string(devices) + " CPLDs", 2, devices,
             [=, &manager] {
                 require(manager.VerifyCPLD(image, VersionPurpose::Other,
                                            component) == 0);
             },
             [=](Peer& peer) { verifyCpld(peer, image); }});
    }
}

void addUploads(Operations& all, FWManagerInternal& manager,
                const std::string& image)
{
    using Type = FWManagerInternal::UPLOAD_IMG_TYPE;
    const auto capsule = image + ".capsule";
    const auto record = [](Peer& peer, const char* property,
                           const char* version) {
        peer.setText(firmwareInformation(property), version);
    };
    all.push_back(
        {"processUploadBmcImage", 2, 8,
         [=, &manager] {
             require(
                 !manager.processUploadBmcImage(image, Type::UPLOAD_IMG_BMC, "")
                      .empty());
         },
         [=](Peer& peer) {
             require(peer.judge(securityManager("verifyBmc"), image.c_str()));
             record(peer, "stagingBMC", "2.14.0");
         }});
    const auto bios = [&manager](const std::string& path) {
        const auto result =
            manager.processUploadBiosImage(path, Type::UPLOAD_IMG_BIOS, "");
        require(result.contains("applyTime"));
    };
    all.push_back(
        {"processUploadBiosImage", 4, 8, [=] { bios(image); },
         [=](Peer& peer) {
             require(peer.getNumber(board) == 1);
             require(peer.judge(securityManager("verifyBios"), image.c_str()));
             record(peer, "stagingBIOS", "BIOS Date: 03/15/2024 Ver 1.20");
             peer.getText(applyTime);
         }});
    all.push_back({"processUploadBiosImage, capsule", 3, 8,
                   [=] { bios(capsule); },
                   [=](Peer& peer) {
                       require(peer.judge(securityManager("verifyCapsule"),
                                          capsule.c_str()));
                       record(peer, "stagingCapsuleMCU", "1.20");
                       peer.getText(applyTime);
                   }});
    all.push_back({"processUploadCpldImage", 4, 8,
                   [=, &manager] {
                       require(!manager
                                    .processUploadCpldImage(
                                        image, Type::UPLOAD_IMG_CPLD, component)
                                    .empty());
                   },
                   [=](Peer& peer) {
                       readImage(peer, image);
                       verifyCpld(peer, image);
                   }});
}

/** A JobRemoved signal, as it is received. */
std::shared_ptr<sd_bus_message> jobRemoved(sd_bus* bus)
{
    std::shared_ptr<sd_bus_message> signal =
        test::systemd_manager::newJobRemoved(bus);
    check(sd_bus_message_append(signal.get(), "uoss", 7,
                                "/org/freedesktop/systemd1/job/7",
                                "another.service", "done"),
          "JobRemoved");
    check(sd_bus_message_seal(signal.get(), 1, 0), "JobRemoved");
    return signal;
}

void readJobRemoved(sd_bus_message* signal)
{
    unsigned id = 0;
    const char* job = nullptr;
    const char* unit = nullptr;
    const char* result = nullptr;
    check(sd_bus_message_rewind(signal, 1), "rewind");
    check(sd_bus_message_read(signal, "uoss", &id, &job, &unit, &result),
          "read");
}

void addStateChanges(Operations& all, FWManagerInternal& manager, sd_bus* bus)
{
    const auto signal = jobRemoved(bus);
    const auto add = [&](const char* name, auto operation) {
        all.push_back({name, 0, 8,
                       [=, &manager] {
                           check(sd_bus_message_rewind(signal.get(), 1),
                                 "rewind");
                           sdbusplus::message_t message(signal.get());
                           require((manager.*operation)(message) == 0);
                       },
                       [=](Peer&) { readJobRemoved(signal.get()); }});
    };
    add("onBMCStateChange", &FWManagerInternal::onBMCStateChange);
    add("onBIOSStateChange", &FWManagerInternal::onBIOSStateChange);
    add("onCPLDStateChange", &FWManagerInternal::onCPLDStateChange);
}

} // namespace

std::vector<Operation> operationsOf(FWManagerInternal& manager, sd_bus* bus,
                                    const std::string& image)
{
    Operations all;
    addVerifications(all, manager, image);
    addUpdates(all, manager);
    addBoardAndVersions(all, manager, image);
    addImageFiles(all, manager, image);
    addUploads(all, manager, image);
    addStateChanges(all, manager, bus);
    return all;
}

} // namespace bench
