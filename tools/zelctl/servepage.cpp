#include "servepage.h"

char const* const servePage = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>ZEL: what runs</title>
<style>
  body { font-family: sans-serif; margin: 1.5em; color: #222; }
  h1 { font-size: 1.3em; margin: 0 0 0.3em 0; }
  #status { color: #666; font-size: 0.9em; margin-bottom: 1em; }
  #graph svg { max-width: 100%; height: auto; }
  table { border-collapse: collapse; margin-top: 1em; font-size: 0.95em; }
  th, td { padding: 0.25em 0.8em; border-bottom: 1px solid #ddd; }
  th { text-align: left; background: #f3f3f3; }
  td.n { text-align: right; font-variant-numeric: tabular-nums; }
  tr.problem td { color: #a00; }
</style>
</head>
<body>
<h1>ZEL: what runs</h1>
<div id="status">connecting&hellip;</div>
<div id="graph"></div>
<table id="top">
  <thead><tr><th>Group</th><th>Processor</th><th>Type</th><th>State</th><th>In msg/s</th><th>Out msg/s</th>
  <th>In MB/s</th><th>Batch</th><th>Busy</th></tr></thead>
  <tbody></tbody>
</table>
<script>
function cell(row, text, numeric) {
  const td = row.insertCell();
  td.textContent = text;
  if (numeric) td.className = 'n';
}
function fixed(value, digits) { return value === undefined || value === null ? '-' : value.toFixed(digits); }
function drawTable(data) {
  const body = document.querySelector('#top tbody');
  body.replaceChildren();
  for (const p of data.processors) {
    const row = body.insertRow();
    row.dataset.processor = p.group + '/' + p.name;
    cell(row, p.group); cell(row, p.name);
    if (p.problem !== undefined) {
      row.className = 'problem';
      cell(row, '?'); cell(row, '(' + p.problem + ')');
      continue;
    }
    cell(row, p.type); cell(row, p.state);
    cell(row, fixed(p.inMsgPerSec, 0), true); cell(row, fixed(p.outMsgPerSec, 0), true);
    cell(row, fixed(p.inMBPerSec, 2), true); cell(row, fixed(p.batch, 1), true);
    cell(row, p.busyShare === undefined ? '-' : Math.round(p.busyShare * 100) + '%', true);
  }
}
async function refresh() {
  const status = document.getElementById('status');
  try {
    const top = await fetch('/api/top');
    if (!top.ok) throw new Error(await top.text());
    drawTable(await top.json());
    const graph = await fetch('/api/graph.svg');
    document.getElementById('graph').innerHTML = await graph.text();
    status.textContent = 'refreshed ' + new Date().toLocaleTimeString() + ', every second';
  } catch (e) {
    status.textContent = 'no data: ' + e.message;
  }
}
refresh();
setInterval(refresh, 1000);
</script>
</body>
</html>
)html";
