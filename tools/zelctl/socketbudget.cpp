#include "socketbudget.h"

#include <QMap>

QStringList SocketBudget::crossings(Pipeline const& pipeline)
{
    QMap<QString, int> sockets; // by host name; "" is --address
    QMap<QString, int> processors;
    for (PipelineGroup const& g : pipeline.groups) {
        int& count = sockets[g.host];
        if (count == 0)
            count = perHost;
        count += perGroup;
        for (PipelineProcessor const& p : g.processors)
            count += perProcessor + perInput * int(p.takes.size());
        processors[g.host] += int(g.processors.size());
    }
    QStringList lines;
    for (auto it = sockets.cbegin(); it != sockets.cend(); ++it) {
        if (it.value() <= contextLimit)
            continue;
        QString const host
            = it.key().isEmpty() ? QStringLiteral("the zelhost at --address") : QStringLiteral("host %1").arg(it.key());
        lines << QStringLiteral("%1 would need about %2 ZeroMQ sockets for %3 processors, more than the %4 one "
                                "zelhost has: spread the groups over more zelhosts")
                     .arg(host)
                     .arg(it.value())
                     .arg(processors.value(it.key()))
                     .arg(contextLimit);
    }
    return lines;
}
