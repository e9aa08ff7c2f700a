// SPDX-License-Identifier: MIT
#include "networkhost/device/RealHints.h"

#include "OwnProcess.h"

#include <cstdio>
#include <fstream>
#include <future>

using velbase2::system::executeCommand;

TEST(RealHints, ComeOfTheKernelAndOfFilesWhereverTheyComeFrom)
{
    inANetworkOf(
        "mount -t tmpfs tmpfs /run; mount -t tmpfs tmpfs /etc/systemd; cd /etc/systemd; mkdir elsewhere third; "
        "echo | tee third/a third/b",
        [] {
            networkhost::RealHints hints;
            for (const char* command : {"ip link add name eth9 type bridge",
                                        "ip addr add 192.0.2.1/24 dev eth9",
                                        "ip link set eth9 up",
                                        "ip route add 198.51.100.0/24 via 192.0.2.2",
                                        "mkdir /etc/systemd/network",
                                        "echo a > /etc/systemd/network/01_local.network",
                                        "echo b > /etc/systemd/network/01_local.network",
                                        "mkdir /etc/systemd/network/01_local.network.d",
                                        "echo a > /etc/systemd/network/01_local.network.d/50-routes.conf",
                                        "mv /etc/systemd/network /etc/systemd/old",
                                        "ln -s elsewhere /etc/systemd/network",
                                        "ln -s ../third/a /etc/systemd/network/02_remote.network",
                                        "echo a > /etc/systemd/third/a",
                                        "ln -s third/b /etc/systemd/resolved.conf",
                                        "echo a > /etc/systemd/third/b",
                                        "mkdir -p /run/systemd/network",
                                        "echo a > /run/systemd/network/02_remote.network",
                                        "mkdir /run/systemd/netif",
                                        "mkdir /run/systemd/netif/links",
                                        "echo a > /run/systemd/netif/links/2"}) {
                SCOPED_TRACE(command);
                hints.rearm();
                while (hints.take({})) { // drops earlier hints
                }
                const auto done =
                    std::async(std::launch::async, [command] { EXPECT_EQ(executeCommand(command).errorOutput, ""); });
                EXPECT_TRUE(hints.take(std::chrono::seconds(10)));
            }
        });
}

TEST(RealHints, TellLinksAndFilesAndWhetherAFileIsStillBeingWritten)
{
    inANetworkOf("mount -t tmpfs tmpfs /etc/systemd; mkdir /etc/systemd/network; cd /etc/systemd/network; touch .new",
                 [] {
                     networkhost::RealHints hints;
                     const auto kinds = [&hints] {
                         const auto taken = hints.takeKinds(std::chrono::seconds(10));
                         return std::string(taken.isOfLink ? "link " : "") + (taken.isOfFile ? "file " : "") +
                                (taken.isSettled ? "settled" : "");
                     };
                     executeCommand("ip link add name eth9 type bridge");
                     EXPECT_EQ(kinds(), "link settled");
                     executeCommand("ip address add 192.0.2.1/24 dev eth9");
                     EXPECT_EQ(kinds(), "settled");
                     std::ofstream file("/etc/systemd/network/01_local.network");
                     file << "[Match]" << std::flush;
                     EXPECT_EQ(kinds(), "file ");
                     file.close();
                     EXPECT_EQ(kinds(), "file settled");
                     std::ofstream("/etc/systemd/network/.new") << "[Network]";
                     EXPECT_EQ(kinds(), "file ");
                     std::rename("/etc/systemd/network/.new", "/etc/systemd/network/01_local.network");
                     EXPECT_EQ(kinds(), "file settled");
                 });
}
