// ZEL inside a Qt program: an environment in this process, the demo plug-in's Generator feeding a
// QtBridge, and what the bridge receives in a typed slot of the program's own object. Ends after
// five messages, or with exit 1 when none come within ten seconds.

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>
#include <zel/qtbridge.h>
#include <zel/systemcontrol.h>

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

class Receiver : public QObject
{
    Q_OBJECT

public slots:
    // Runs on this program's thread: the bridge emits on its own, so Qt queues the call.
    void onMessage(QByteArray const& type, QByteArray const& data)
    {
        std::printf("%s: %d bytes\n", type.constData(), int(data.size()));
        if (++received == 5)
            QCoreApplication::quit();
    }

private:
    int received = 0;
};

int fail(zel::SystemControl const& control, char const* step)
{
    std::fprintf(stderr, "zelembedding: %s: %s\n", step, qPrintable(control.lastError()));
    return 1;
}

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    zel::Environment environment; // the router's frontend in this process only
    zel::SystemControl control(environment.getRouterFrontendAddress());
    if (!control.createGroup(QStringLiteral("app")))
        return fail(control, "create group");
    // The Generator publishes "numbers" and registers it at the group's name service.
    zelmsg::Processor const numbers = zel::ControlMessageHelper::makeProcessorConfig("numbers", "tcp://127.0.0.1:*");
    if (!control.createProcessor(
            QStringLiteral("app"), QStringLiteral("source"), QStringLiteral("demo.Generator"), numbers))
        return fail(control, "create generator");
    if (!control.setParameter(
            QStringLiteral("app"), QStringLiteral("source"), QStringLiteral("rate"), QStringLiteral("20")))
        return fail(control, "set rate");
    if (!control.createProcessor(QStringLiteral("app"), QStringLiteral("bridge"), QStringLiteral("QtBridge")))
        return fail(control, "create bridge");

    Receiver receiver;
    zel::QtBridge* const bridge = zel::SystemControl::qtBridge(QStringLiteral("app"), QStringLiteral("bridge"));
    if (!bridge)
        return fail(control, "find bridge");
    QObject::connect(bridge, &zel::QtBridge::si_message, &receiver, &Receiver::onMessage);
    // Connected last, so that no message comes before the slot is there.
    if (!control.connect(QStringLiteral("app"), QStringLiteral("bridge"), QStringLiteral("numbers")))
        return fail(control, "connect bridge");

    QTimer::singleShot(10000, [] {
        std::fprintf(stderr, "zelembedding: no messages within 10 s\n");
        QCoreApplication::exit(1);
    });
    return app.exec();
}

#include "main.moc"
