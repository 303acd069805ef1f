#pragma once

#include <QString>

#include <ostream>

// GoogleTest shows a QString as its text, not as its bytes.
inline void PrintTo(QString const& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
