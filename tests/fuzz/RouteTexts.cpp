// SPDX-License-Identifier: MIT
#include "Fuzz.h"
#include "networkmanager/Routes.h"

#include <stdexcept>

/// The input is the argument of setRoutes.
void fuzz::check(const std::string& input)
{
    try {
        const auto routes = networkmanager::extract(input);
        std::string message;
        velbase2::system::signals::signal<std::string> messages;
        messages.connect([&message](const std::string& text) { message = text; });
        const auto text = networkmanager::createSysConf(routes, messages);
        require((text == "invalid") == !message.empty(), "a message says what is invalid");
        if (text == "invalid") {
            return;
        }
        requireKnown(networksimulation::wrote("/etc/systemd/network/02_remote.network.d/50-routes.conf", text));
        const auto lines = split(text, '\n').size() - 1;
        require(lines == (routes.empty() ? 1 : 3 * routes.size()), "a route has three lines");
    } catch (const std::invalid_argument&) { // declared: an identifier is missing
    } catch (const std::out_of_range&) {     // declared: a later route without gateway, a prefix length beyond int
    }
}
