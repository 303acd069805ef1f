#include "serve.h"

#include "graphview.h"
#include "interruption.h"
#include "observation.h"
#include "reply.h"
#include "servepage.h"

#include <QJsonDocument>
#include <QProcess>

#include <httplib.h>

#include <chrono>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// What the pages are made of, written by the sampling thread and read by the server's threads:
// the one place where two threads meet, hence the lock.
class Latest
{
public:
    struct Content
    {
        std::string top; // JSON, or the reason why there is none
        std::string dot;
        std::string svg;
        bool ok = false;
    };

    void store(Content content)
    {
        std::lock_guard<std::mutex> const lock(mutex);
        latest = std::move(content);
    }
    Content load() const
    {
        std::lock_guard<std::mutex> const lock(mutex);
        return latest;
    }

private:
    mutable std::mutex mutex;
    Content latest { "no sample yet", {}, {}, false };
};

// Graphviz lays the graph out; without it the page says what is missing instead.
std::string svgOf(QString const& dot)
{
    QProcess process;
    process.start(QStringLiteral("dot"), { QStringLiteral("-Tsvg") });
    if (!process.waitForStarted())
        return "<p>Graphviz is not installed: the graph needs its dot command.</p>";
    process.write(dot.toUtf8());
    process.closeWriteChannel();
    if (!process.waitForFinished(10000) || process.exitCode() != 0)
        return "<p>dot failed: " + process.readAllStandardError().toStdString() + "</p>";
    return process.readAllStandardOutput().toStdString();
}

void route(httplib::Server& server, Latest const& latest)
{
    server.Get("/", [](httplib::Request const&, httplib::Response& response) {
        response.set_content(servePage, "text/html; charset=utf-8");
    });
    server.Get("/api/top", [&latest](httplib::Request const&, httplib::Response& response) {
        Latest::Content const content = latest.load();
        response.status = content.ok ? 200 : 503;
        response.set_content(content.top, content.ok ? "application/json" : "text/plain; charset=utf-8");
    });
    server.Get("/api/graph.dot", [&latest](httplib::Request const&, httplib::Response& response) {
        response.set_content(latest.load().dot, "text/vnd.graphviz; charset=utf-8");
    });
    server.Get("/api/graph.svg", [&latest](httplib::Request const&, httplib::Response& response) {
        response.set_content(latest.load().svg, "image/svg+xml");
    });
}

// Every second until interrupted: the system's state, the rates since the last sample, and what
// the pages show of them.
void sample(SystemClient& client, Latest& latest)
{
    std::optional<Observation> before; // none after a failure: the rates start again
    while (!interrupted()) {
        Clock::time_point const due = Clock::now() + observationPeriod;
        Observation now;
        zelmsg::ControlMessage failed;
        Outcome const outcome = Observation::take(client, now, failed);
        if (outcome != Outcome::Success) {
            std::string const reason
                = outcome == Outcome::Timeout ? "zelhost does not answer" : failed.GetMessageText().toStdString();
            latest.store({ reason, {}, {}, false });
            before.reset();
        } else {
            if (before) {
                ObservedRates const rates = ObservedRates::between(*before, now);
                QString const dot = graphDot(now, &rates);
                latest.store({ QJsonDocument(observationJson(now, rates)).toJson(QJsonDocument::Compact).toStdString(),
                    dot.toStdString(), svgOf(dot), true });
            }
            before = std::move(now);
        }
        while (!interrupted() && Clock::now() < due)
            std::this_thread::sleep_for(20ms);
    }
}

bool isLoopback(QString const& host)
{
    return host == QLatin1String("localhost") || host.startsWith(QLatin1String("127.")) || host == QLatin1String("::1");
}

} // namespace

int serve(Invocation& call)
{
    QString const listen = call.line.value(QStringLiteral("--listen"), QStringLiteral("127.0.0.1:8080"));
    int const colon = listen.lastIndexOf(QLatin1Char(':'));
    bool ok = false;
    int const port = listen.mid(colon + 1).toInt(&ok);
    QString const host = listen.left(colon);
    if (colon <= 0 || !ok || port < 0 || port > 65535) {
        err(QStringLiteral("--listen takes HOST:PORT, such as 127.0.0.1:8080 (port 0: any free one)"));
        return ExitUsage;
    }
    httplib::Server server;
    Latest latest;
    route(server, latest);
    int const bound = port == 0 ? server.bind_to_any_port(host.toStdString())
                                : (server.bind_to_port(host.toStdString(), port) ? port : -1);
    if (bound < 0) {
        err(QStringLiteral("cannot listen on %1").arg(listen));
        return ExitFailure;
    }
    out(QStringLiteral("serving http://%1:%2/ (%3); Ctrl-C stops")
            .arg(host)
            .arg(bound)
            .arg(isLoopback(host) ? QStringLiteral("loopback only; --listen HOST:PORT to change")
                                  : QStringLiteral("open to the network: whoever reaches it sees the system")));
    std::fflush(stdout);
    catchInterruption();
    std::thread listener([&server] { server.listen_after_bind(); });
    sample(call.client, latest);
    server.stop();
    listener.join();
    return ExitSuccess;
}
