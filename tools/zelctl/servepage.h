#pragma once

// The one page zelctl serve shows: it fetches /api/top and /api/graph.svg every second and draws
// the table and the graph from them.
extern char const* const servePage;
