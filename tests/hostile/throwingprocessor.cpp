#include "throwingprocessor.h"

#include <stdexcept>

namespace zeltest {

bool ThrowingProcessor::setParameter(QString const&, QString const& value)
{
    throw std::runtime_error(value.toStdString());
}

} // namespace zeltest
