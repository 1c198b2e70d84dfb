// Programs to record, written next to what is expected of their captures.
//
// The test executable is its own client: with --client NAME it runs what CLIENT(NAME) has, under playback-record.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace Recorder {

/// A client's body; it returns the exit status.
using ClientBody = std::function<int()>;

std::map<std::string, ClientBody>& Clients();

struct ClientRegistration {
    ClientRegistration(const char* name, ClientBody body) { Clients()[name] = std::move(body); }
};

} // namespace Recorder

#define CLIENT(name)                                                                                                   \
    static int Client_##name();                                                                                        \
    static const Recorder::ClientRegistration registration_##name(#name, Client_##name);                               \
    static int Client_##name()
