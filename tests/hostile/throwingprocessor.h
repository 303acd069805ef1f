#pragma once

#include <zel/processorbase.h>

namespace zeltest {

// A processor whose handler fails: SetParameter throws with the value as the reason.
class ThrowingProcessor : public zel::ProcessorBase
{
public:
    using zel::ProcessorBase::ProcessorBase;

    bool connect(QString const&, QString const&, QVector<QString> const&) override { return false; }
    bool start(QString const&) override { return false; }
    bool stop(QString const&) override { return false; }
    bool setParameter(QString const& name, QString const& value) override;
    bool getParameter(QString const&, QString&) override { return false; }
    bool getParameterList(QStringList&) override { return false; }
    bool startNewRecording(QString&) override { return false; }
};

} // namespace zeltest
