// SPDX-License-Identifier: MIT
#include "networkhost/state/Snapshot.h"

#include "SimulatedManager.h"
#include "networkhost/change/Apply.h"
#include "networkhost/plan/Requests.h"

struct Snapshot : SimulatedManager
{};

TEST_F(Snapshot, OfTheCellsOfAManagerIsTheSameAsOneOfTheDevice)
{
    // The cell of the routes does not follow this change.
    ASSERT_TRUE(apply(device, networkhost::planRoutes(device, "remote", "dst=10.1.0.0/16,gw=192.168.50.2")).isDone);
    device.settle();
    refresh(manager);
    device.unplug("local");
    const auto ofCells = toJson(networkhost::readSnapshot(device, manager));
    EXPECT_THAT(ofCells, testing::HasSubstr("\"routes\": \"dst=10.1.0.0/16,gw=192.168.50.2\""));
    refresh(manager);
    const auto ofDevice = networkhost::readSnapshot(device);
    EXPECT_NE(ofCells, toJson(ofDevice)) << "the cell of the link was not as in the last pass";
    EXPECT_EQ(toJson(networkhost::readSnapshot(device, manager)), toJson(ofDevice));
    EXPECT_THROW(toJson(ofDevice, {"eth9"}), std::out_of_range);
}
