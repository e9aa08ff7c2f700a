// SPDX-License-Identifier: MIT
#include "TestSupport.h"
#include "networkmanager/HostSignals.h"

using TextCell = networkmanager::EthInterface::Cell<std::string>;

static_assert(std::is_nothrow_copy_constructible_v<TextCell>);

TEST(ACellOfEachKind, EmitsItsFirstValueAndThenChangesAndStaysUsableWhenASlotThrows)
{
    TextCell cell;
    HostSignals::Cell hostCell;
    std::string emitted;
    cell.connect([&emitted](const auto& value) { emitted += '<' + *value + '>'; });
    hostCell.connect([&emitted](const auto& value) { emitted += '(' + value + ')'; });
    for (const std::string value : {"", "", "a", "a"}) {
        cell.assign_and_signal(value);
        hostCell.update(value);
    }
    TextCell(cell).assign_and_signal("b"); // to no subscriber
    EXPECT_EQ(emitted + *TextCell(cell).get(), "<>()<a>(a)a");
    cell.connect([](const auto&) { throw std::runtime_error("slot"); });
    hostCell.connect([](const auto&) { throw std::runtime_error("slot"); });
    for (const std::string value : {"c", "d"}) {
        EXPECT_ANY_THROW(cell.assign_and_signal(value));
        EXPECT_ANY_THROW(hostCell.update(value));
        EXPECT_EQ(*cell.get() + hostCell.get(), value + value);
    }
}

TEST(ACell, CanBeReadButNotAssignedByOthersWhileASlotRuns)
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
