// SPDX-License-Identifier: MIT
#include "networkmanager/EthInterface.h"
#include "networkmanager/HostSignals.h"

#include <future>

#include <gtest/gtest.h>

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
