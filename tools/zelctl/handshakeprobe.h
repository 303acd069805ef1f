#pragma once

#include <QString>

#include <string>

// What the security handshake with a frontend comes to, watched on a socket monitor: the one way a
// client learns that zelhost refused its key, since a refused client gets no answer at all.
enum class Handshake {
    Accepted, // security is not the reason for a silence
    Refused, // the key is not authorized
    Mismatch, // one side has CURVE on and the other not, as a rule
    Failed, // the handshake broke off: a server key that is not the host's, or a mismatch too
    Silent, // nothing listens, or nothing came within the wait
};

Handshake probeHandshake(std::string const& address, int waitMs);

// Why zelhost at `address` gave no answer, as zelctl says it.
QString silenceReason(std::string const& address, int waitMs);
