#include "demoflow.h"

#include <zel/controlmessagehelper.h>
#include <zel/endpoints.h>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Helper = zel::ControlMessageHelper;
using namespace std::chrono_literals;

std::string const& prefix() { return zel::internalAddressPrefixDefault; }

} // namespace

zelmsg::ControlMessage DemoFlow::request(Client& client, std::string const& identity, zelmsg::ControlMessage record)
{
    if (!client.request(identity, record))
        throw std::runtime_error(identity + ": " + record.GetMessageText().toStdString() + client.getLastMessageText());
    return record;
}

DemoFlow::DemoFlow(Client& client, std::string groupName, std::string const& address, int batch, int size)
    : client(client)
    , group(std::move(groupName))
    , generator(zel::Endpoints::getProcessorEndpoint(group, "gen", prefix()))
    , counter(zel::Endpoints::getProcessorEndpoint(group, "counter", prefix()))
{
    std::string const groupId = zel::Endpoints::getGroupEndpoint(group, prefix());
    request(client, zel::Endpoints::getGroupManagerEndpoint(prefix()), Helper::makeCreateProcessorGroupMessage(group));
    request(client, groupId,
        Helper::makeCreateProcessorMessage("demo.Generator", "gen", Helper::makeProcessorConfig("numbers", address)));
    request(client, groupId,
        Helper::makeCreateProcessorMessage(
            "demo.Counter", "counter", Helper::makeProcessorConfig("counted", "inproc://demoflow-counted-" + group)));
    request(client, counter, Helper::makeSetParameterMessage("batch", std::to_string(batch)));
    request(client, generator, Helper::makeStopStreamMessage(""));
    request(client, generator, Helper::makeSetParameterMessage("size", std::to_string(size)));
    request(client, generator, Helper::makeSetParameterMessage("rate", "0"));
    std::string const bound = request(client, generator, Helper::makeQueryStreamsMessage())
                                  .GetDataStream()
                                  .first()
                                  .GetAddress()
                                  .first()
                                  .toStdString();
    request(client, counter, Helper::makeConnectStreamMessage("in", bound, std::vector<std::string>()));
    request(client, generator, Helper::makeStartStreamMessage(""));
    auto const deadline = std::chrono::steady_clock::now() + 10s;
    while (counted() == 0) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("nothing reached the Counter");
        std::this_thread::sleep_for(1ms);
    }
}

DemoFlow::~DemoFlow()
{
    zelmsg::ControlMessage record = Helper::makeDeleteProcessorGroupMessage(group);
    client.request(zel::Endpoints::getGroupManagerEndpoint(prefix()), record);
}

std::uint64_t DemoFlow::value(std::string const& processor, std::string const& parameter)
{
    return request(client, processor, Helper::makeGetParameterMessage(parameter)).GetParameter().toULongLong();
}
