// zelsink [PORT]: an HTTP server on 127.0.0.1 that takes POSTs and prints, once a second, how many
// arrived, their content type and the first bytes of the last one.

#include "httpsink.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

namespace {

QByteArray firstBytes(QByteArray const& body) { return body.left(16).toHex(' ') + (body.size() > 16 ? " ..." : ""); }

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (app.arguments().contains(QStringLiteral("--help")) || app.arguments().contains(QStringLiteral("-h"))) {
        std::printf("usage: zelsink [PORT]\n\n"
                    "An HTTP server on 127.0.0.1:PORT (default: a free port) that takes POSTs, as an HttpBridge\n"
                    "sends them, and prints once a second how many arrived, their content type and the first\n"
                    "bytes of the last one. Point a bridge's stream at the URL it prints.\n");
        return 0;
    }
    HttpSink sink;
    quint16 const port = app.arguments().size() > 1 ? app.arguments()[1].toUShort() : 0;
    if (!sink.listen(port)) {
        std::fprintf(stderr, "zelsink: cannot listen on 127.0.0.1:%u\n", port);
        return 1;
    }
    std::printf("zelsink: listening at %s\n", qPrintable(sink.url()));
    std::fflush(stdout);

    int shown = 0;
    QTimer report;
    QObject::connect(&report, &QTimer::timeout, [&] {
        if (sink.count() == shown)
            return;
        HttpSink::Request const& last = sink.requests().last();
        std::printf("zelsink: %5d POSTs (+%d)  %s %s  content-type %s  last body %d bytes: %s\n", sink.count(),
            sink.count() - shown, last.method.constData(), last.path.constData(), last.contentType.constData(),
            last.body.size(), firstBytes(last.body).constData());
        std::fflush(stdout);
        shown = sink.count();
    });
    report.start(1000);
    return app.exec();
}
