#pragma once

#include <QString>

// Why `address` is no ZeroMQ endpoint to bind (`bind`) or to connect to; empty when it is one.
// zelhost checks its frontend address with it too, since ZeroMQ takes some wrong ones quietly (a
// port above 65535 binds another port).
QString endpointProblem(QString const& address, bool bind);
