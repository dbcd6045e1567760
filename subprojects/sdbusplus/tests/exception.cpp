// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sdbusplus/exception.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace
{

using sdbusplus::exception::SdBusError;

sd_bus_error errorOf(const char* name, const char* message)
{
    sd_bus_error error{};
    sd_bus_error_set(&error, name, message);
    return error;
}

SdBusError named(const char* name, const char* message)
{
    auto error = errorOf(name, message);
    return SdBusError(&error, "step");
}

bool isEmpty(const sd_bus_error& error)
{
    return error.name == nullptr && error.message == nullptr;
}

TEST(SdBusError, NamesAndDescribesAnErrno)
{
    const SdBusError error(ENXIO, "step");
    EXPECT_STREQ(error.what(),
                 "step: System.Error.ENXIO: No such device or address");
    EXPECT_STREQ(error.name(), "System.Error.ENXIO");
    EXPECT_STREQ(error.description(), "No such device or address");
    EXPECT_EQ(error.get_errno(), ENXIO);
}

TEST(SdBusError, UsesTheNameThatDBusHasForAnErrno)
{
    EXPECT_STREQ(SdBusError(EINVAL, "step").what(),
                 "step: org.freedesktop.DBus.Error.InvalidArgs: "
                 "Invalid argument");
    EXPECT_STREQ(SdBusError(ETIMEDOUT, "step").name(),
                 "org.freedesktop.DBus.Error.Timeout");
}

TEST(SdBusError, NeedsAnErrnoThatIsAnError)
{
    try
    {
        SdBusError error(0, "step");
        FAIL() << error.what();
    }
    catch (const std::runtime_error& refused)
    {
        EXPECT_STREQ(refused.what(), "Failed to create SdBusError");
    }
}

TEST(SdBusError, TakesAnErrorOver)
{
    auto source = errorOf("an.Error.Name", "a text");
    const SdBusError error(&source, "step");
    EXPECT_TRUE(isEmpty(source));
    EXPECT_STREQ(error.what(), "step: an.Error.Name: a text");
    EXPECT_STREQ(error.name(), "an.Error.Name");
    EXPECT_STREQ(error.description(), "a text");
    EXPECT_STREQ(error.get_error()->name, "an.Error.Name");
    EXPECT_EQ(error.get_errno(), EIO);
}

TEST(SdBusError, LeavesOutWhatAnErrorLacks)
{
    EXPECT_STREQ(named("an.Error.Name", nullptr).what(), "step: an.Error.Name");
    sd_bus_error none{};
    const SdBusError error(&none, "step");
    EXPECT_STREQ(error.what(), "step");
    EXPECT_EQ(error.name(), nullptr);
    EXPECT_EQ(error.description(), nullptr);
    EXPECT_EQ(error.get_errno(), 0);
}

TEST(SdBusError, KeepsTheColonBeforeAMessageWithoutText)
{
    EXPECT_STREQ(named("an.Error.Name", "").what(), "step: an.Error.Name: ");
}

TEST(SdBusError, IsEmptyOnceItHasMoved)
{
    auto from = named("an.Error.Name", "a text longer than a short string");
    const SdBusError to(std::move(from));
    EXPECT_STREQ(to.what(),
                 "step: an.Error.Name: a text longer than a short string");
    EXPECT_STREQ(to.name(), "an.Error.Name");
    EXPECT_STREQ(from.what(), "");
    EXPECT_EQ(from.name(), nullptr);
    EXPECT_EQ(from.description(), nullptr);
    EXPECT_EQ(from.get_errno(), 0);
}

TEST(SdBusError, GivesUpItsOwnErrorForOneMovedIn)
{
    auto to = named("an.Error.Name", "a text");
    auto from = named("another.Error.Name", "another text");
    to = std::move(from);
    EXPECT_STREQ(to.what(), "step: another.Error.Name: another text");
    EXPECT_STREQ(to.description(), "another text");
    EXPECT_TRUE(isEmpty(*from.get_error()));
}

TEST(SdBusError, StaysWhatItIsWhenMovedIntoItself)
{
    auto error = named("an.Error.Name", "a text");
    auto& same = error;
    error = std::move(same);
    EXPECT_STREQ(error.what(), "step: an.Error.Name: a text");
    EXPECT_STREQ(error.name(), "an.Error.Name");
}

template <typename Base>
std::string caughtAs()
{
    try
    {
        throw SdBusError(ENXIO, "step");
    }
    catch (const Base& error)
    {
        return error.what();
    }
}

TEST(SdBusError, IsCaughtAsEachOfItsBases)
{
    const std::string text =
        "step: System.Error.ENXIO: No such device or address";
    EXPECT_EQ(caughtAs<SdBusError>(), text);
    EXPECT_EQ(caughtAs<sdbusplus::internal_exception_t>(), text);
    EXPECT_EQ(caughtAs<sdbusplus::exception_t>(), text);
    EXPECT_EQ(caughtAs<std::exception>(), text);
}

TEST(SdBusError, IsMovedAndNeverCopied)
{
    EXPECT_TRUE(std::is_final_v<SdBusError>);
    EXPECT_TRUE(std::is_move_constructible_v<SdBusError>);
    EXPECT_TRUE(std::is_move_assignable_v<SdBusError>);
    EXPECT_FALSE(std::is_copy_constructible_v<SdBusError>);
    EXPECT_FALSE(std::is_copy_assignable_v<SdBusError>);
}

/** What a program's own error looks like. */
struct OwnError : sdbusplus::exception_t
{
    const char* name() const noexcept override
    {
        return "an.Own.Error";
    }

    const char* description() const noexcept override
    {
        return "own";
    }

    int get_errno() const noexcept override
    {
        return EPERM;
    }
};

TEST(Exception, IsAbstractAndCanBeDerivedFrom)
{
    EXPECT_TRUE(std::is_abstract_v<sdbusplus::exception_t>);
    try
    {
        throw OwnError();
    }
    catch (const sdbusplus::exception_t& error)
    {
        EXPECT_STREQ(error.name(), "an.Own.Error");
        EXPECT_EQ(error.get_errno(), EPERM);
    }
}

} // namespace
