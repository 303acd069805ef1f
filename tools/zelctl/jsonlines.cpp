#include "jsonlines.h"

#include <QStringList>

#include <vector>

namespace {

// One open object or array while the text is walked.
struct Level
{
    bool array;
    int index = 0;
    QString key;
};

QString pathOf(std::vector<Level> const& levels)
{
    QStringList parts;
    for (Level const& level : levels)
        parts << (level.array ? QString::number(level.index) : level.key);
    return parts.join(QLatin1Char('/'));
}

// The end of the string that begins at `i` (its closing quote).
int stringEnd(QByteArray const& text, int i)
{
    for (++i; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\')
            ++i;
    }
    return i;
}

} // namespace

JsonLines::JsonLines(QByteArray const& text)
{
    std::vector<Level> levels;
    bool expectKey = false;
    int line = 1;
    for (int i = 0; i < text.size(); ++i) {
        char const c = text[i];
        if (c == '\n') {
            ++line;
        } else if (c == ' ' || c == '\t' || c == '\r' || c == ':') {
        } else if (c == ',') {
            if (levels.back().array)
                ++levels.back().index;
            else
                expectKey = true;
        } else if (c == '}' || c == ']') {
            levels.pop_back();
        } else if (expectKey) {
            int const end = stringEnd(text, i);
            levels.back().key = QString::fromUtf8(text.mid(i + 1, end - i - 1));
            expectKey = false;
            i = end;
        } else {
            lines.insert(pathOf(levels), line);
            if (c == '{' || c == '[') {
                levels.push_back({ c == '[', 0, QString() });
                expectKey = c == '{';
            } else if (c == '"') {
                i = stringEnd(text, i);
            } else {
                while (i + 1 < text.size() && !QByteArray(",}] \t\r\n").contains(text[i + 1]))
                    ++i;
            }
        }
    }
}

int JsonLines::lineOfOffset(QByteArray const& text, int offset) { return text.left(offset).count('\n') + 1; }
