#pragma once

#include <zel/streamprocessor.h>

namespace demo {

// A stream processor that serves its input in batches, 64 messages per wake-up unless the parameter
// batch says otherwise (a positive number; 1 is one message per wake-up).
class BatchedProcessor : public zel::StreamProcessor
{
public:
    BatchedProcessor(zelmsg::Processor const& configuration, std::string const& processorName,
        std::string const& groupName, std::string const& addressPrefix);

protected:
    bool setParameter(QString const& name, QString const& value) override;
    bool getParameter(QString const& name, QString& value) override;
    bool getParameterList(QStringList& names) override;
};

} // namespace demo
