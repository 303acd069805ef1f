#pragma once

#include <zel/inputclient.h>
#include <zel/zel_export.h>
#include <zel/zmqcontrollable.h>

#include <zmq.hpp>

#include <memory>
#include <set>
#include <string>

namespace zel {

// Decides who may connect to the CURVE servers of the process: libzmq asks it over the ZAP socket
// "inproc://zeromq.zap.01" for each handshake. A client whose public key is authorized gets in, any
// other is refused and traced with its address. It runs on a thread of its own, started before the
// first secured socket binds and stopped after the last one closes: without it libzmq lets every
// CURVE client in.
class ZEL_EXPORT ZapHandler : public ZmqControllable, public InputClient
{
public:
    static char const* const endpoint;

    // Z85 public keys.
    explicit ZapHandler(std::set<std::string> authorizedKeys);
    ~ZapHandler() override;

    bool initialize() override;
    void process() override;
    void release() override;
    // Answers one request.
    void processInput() override;

private:
    std::set<std::string> authorized; // the keys as the 32 bytes libzmq hands over
    std::unique_ptr<zmq::socket_t> socket;
    int socketIndex = -1;
};

} // namespace zel
