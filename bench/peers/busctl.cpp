// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/process.hpp"
#include "peer.hpp"

#include <stdexcept>
#include <vector>

namespace bench
{

namespace
{

class Busctl : public Peer
{
  public:
    explicit Busctl(std::string busAddress) : option("--address=" + busAddress)
    {}

    bool judge(const RemoteMethod& method, const char* image) override
    {
        return run("call", method, {"s", image}) == "b true\n";
    }

    std::string text(const RemoteMethod& method) override
    {
        return unquoted(run("call", method));
    }

    std::uint16_t getNumber(const RemoteMethod& property) override
    {
        return static_cast<std::uint16_t>(
            std::stoi(run("get-property", property).substr(2)));
    }

    std::string getText(const RemoteMethod& property) override
    {
        return unquoted(run("get-property", property));
    }

    void setText(const RemoteMethod& property, const char* value) override
    {
        run("set-property", property, {"s", value});
    }

    void start(const char* unit) override
    {
        run("call", startUnit, {"ss", unit, "replace"});
    }

    PropertyMap properties(const RemoteMethod& method, const char*) override
    {
        throw std::logic_error(method.member);
    }

    CpldDeviceMap devices() override
    {
        throw std::logic_error(boundDevices().member);
    }

  private:
    std::string run(const char* verb, const RemoteMethod& method,
                    const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> arguments{
            "busctl",    option,           verb,         method.service,
            method.path, method.interface, method.member};
        arguments.insert(arguments.end(), more.begin(), more.end());
        auto completed = test::run(arguments);
        if (completed.status != 0)
        {
            throw std::runtime_error("busctl: " + completed.err);
        }
        return completed.out;
    }

    /** From `s "TEXT"` and a newline. */
    static std::string unquoted(const std::string& printed)
    {
        return printed.substr(3, printed.size() - 5);
    }

    std::string option;
};

} // namespace

std::unique_ptr<Peer> busctl(const std::string& busAddress)
{
    return std::make_unique<Busctl>(busAddress);
}

} // namespace bench
