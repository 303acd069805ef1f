#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

// Where each value of a JSON text begins, by its path: "groups/0/processors/1" -> line 12.
// QJsonDocument keeps no positions, and an error has to point into the file.
class JsonLines
{
public:
    // `text` must be valid JSON (QJsonDocument has accepted it).
    explicit JsonLines(QByteArray const& text);

    // The line (from 1) of the value at `path`; 1 when the path is unknown.
    int line(QString const& path) const { return lines.value(path, 1); }

    // The line of a byte offset, for the parser's own errors.
    static int lineOfOffset(QByteArray const& text, int offset);

private:
    QHash<QString, int> lines;
};
