// SPDX-License-Identifier: MIT
#pragma once

namespace networksimulation {

class Disk;
class FarEnds;
class Kernel;

/// Gives a device without anything the state in which it is delivered: interfaces, files, directories and far ends.
/// All follow from the built-in interfaces and the library's paths. The interface that holds the gateway gets its
/// address by DHCP, and each other one a static address.
void setFactoryState(Kernel& kernel, Disk& disk, FarEnds& farEnds);

} // namespace networksimulation
