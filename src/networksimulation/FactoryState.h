// SPDX-License-Identifier: MIT
#pragma once

namespace networksimulation {

class Disk;
class FarEnds;
class Kernel;

/// Gives an empty device the state in which it is delivered: interfaces, files, directories and far ends. They follow
/// from the built-in interfaces and the library's paths. The interface that holds the gateway gets its address by DHCP,
/// and each other interface has a static address.
void setFactoryState(Kernel& kernel, Disk& disk, FarEnds& farEnds);

} // namespace networksimulation
