#include <zel/host/logger.h>

namespace RECORDMODEL {

Logger::~Logger() = default;

} // namespace RECORDMODEL
