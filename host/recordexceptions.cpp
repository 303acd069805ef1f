#include <zel/host/recordexceptions.h>

#include <utility>

namespace RECORDMODEL {

RecordException::RecordException(QString text)
    : m_text(std::move(text))
{ }

// Out-of-line destructors anchor the vtables in the library, so catching by type works across it.
RecordException::~RecordException() = default;
RMException::~RMException() = default;
OutOfRangeException::~OutOfRangeException() = default;
IncompleteDefinitionException::~IncompleteDefinitionException() = default;
BinaryParsingException::~BinaryParsingException() = default;
InvalidXmlException::~InvalidXmlException() = default;

} // namespace RECORDMODEL
