// SPDX-License-Identifier: MIT
#include "networkmanager/EthInterface.h"
#include "networkmanager/HostSignals.h"

#include <future>

#include <gtest/gtest.h>

using velbase2::nsa::common::IpSettings;
using velbase2::nsa::common::enums::IpAddressFamily;
using velbase2::nsa::common::structs::IpAddress;
using TextCell = networkmanager::EthInterface::Cell<std::string>;
using Emissions = std::vector<std::string>;

static_assert(std::is_nothrow_copy_constructible_v<TextCell>);

TEST(Value, EmitsItsFirstValueAndThenChanges)
{
    TextCell cell;
    Emissions emitted;
    cell.connect([&emitted](const auto& value) { emitted.push_back(*value); });
    for (const std::string value : {"", "", "a", "a", ""}) {
        cell.assign_and_signal(value);
        EXPECT_EQ(cell.get(), value);
    }
    EXPECT_EQ(emitted, (Emissions{"", "a", ""}));
}

TEST(Value, IsCopiedWithoutSubscribers)
{
    TextCell cell;
    cell.assign_and_signal("a");
    cell.connect([](const auto&) { ADD_FAILURE(); });
    TextCell copy(cell);
    EXPECT_EQ(copy.get(), "a");
    copy.assign_and_signal("b");
    EXPECT_EQ(cell.get(), "a");
}

TEST(Value, StaysUsableWhenASlotThrows)
{
    TextCell cell;
    cell.connect([](const auto&) { throw std::runtime_error("slot"); });
    for (const std::string value : {"a", "b"}) {
        EXPECT_THROW(cell.assign_and_signal(value), std::runtime_error);
        EXPECT_EQ(cell.get(), value);
    }
}

TEST(Value, CanBeReadButNotAssignedByOthersWhileASlotRuns)
{
    TextCell cell;
    cell.connect(
        [&cell](const auto& value) { EXPECT_EQ(std::async(std::launch::async, &TextCell::get, &cell).get(), value); });
    const auto assign = [&cell](int first) {
        for (int i = first; i < 400; i += 2) {
            cell.assign_and_signal(std::to_string(i));
        }
    };
    const auto other = std::async(std::launch::async, assign, 1);
    assign(0);
}

TEST(OnlyOnChanged, EmitsItsFirstValueAndThenChanges)
{
    HostSignals::Cell cell;
    Emissions emitted;
    cell.connect([&emitted](const auto& value) { emitted.push_back(value); });
    for (const std::string value : {"", "", "a", "a", ""}) {
        cell.update(value);
        EXPECT_EQ(cell.get(), value);
    }
    EXPECT_EQ(emitted, (Emissions{"", "a", ""}));
}

TEST(OnlyOnChanged, StaysUsableWhenASlotThrows)
{
    HostSignals::Cell cell;
    cell.connect([](const auto&) { throw std::runtime_error("slot"); });
    for (const std::string value : {"a", "b"}) {
        EXPECT_THROW(cell.update(value), std::runtime_error);
        EXPECT_EQ(cell.get(), value);
    }
}

TEST(IpAddress, IsEqualWhenAllFieldsAre)
{
    const IpAddress address{IpAddressFamily::IPv4, "10.0.0.1", "255.0.0.0"};
    EXPECT_EQ(address, IpAddress(address));
    EXPECT_NE(address, (IpAddress{IpAddressFamily::IPv6, "10.0.0.1", "255.0.0.0"}));
    EXPECT_NE(address, (IpAddress{IpAddressFamily::IPv4, "10.0.0.2", "255.0.0.0"}));
    EXPECT_NE(address, (IpAddress{IpAddressFamily::IPv4, "10.0.0.1", "255.255.0.0"}));
}

TEST(IpSettings, AreEqualWhenAllFieldsAre)
{
    const IpSettings settings{"10.0.0.1", "255.0.0.0", false, "10.0.0.9"};
    EXPECT_EQ(settings, IpSettings(settings));
    EXPECT_NE(settings, (IpSettings{"10.0.0.2", "255.0.0.0", false, "10.0.0.9"}));
    EXPECT_NE(settings, (IpSettings{"10.0.0.1", "255.255.0.0", false, "10.0.0.9"}));
    EXPECT_NE(settings, (IpSettings{"10.0.0.1", "255.0.0.0", true, "10.0.0.9"}));
    EXPECT_NE(settings, (IpSettings{"10.0.0.1", "255.0.0.0", false, ""}));
}
