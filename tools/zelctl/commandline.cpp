#include "commandline.h"

namespace {

// Options that take a value; the others are flags.
QStringList const valueOptions = { QStringLiteral("--address"), QStringLiteral("--timeout"), QStringLiteral("--stream"),
    QStringLiteral("--stream-address"), QStringLiteral("--config"), QStringLiteral("--filter"),
    QStringLiteral("--stream-host"), QStringLiteral("--stream-group"), QStringLiteral("--count"),
    QStringLiteral("--format"), QStringLiteral("--content-type"), QStringLiteral("--listen"), QStringLiteral("-o"),
    QStringLiteral("--output"), QStringLiteral("--duration"), QStringLiteral("--compression"),
    QStringLiteral("--chunk-size"), QStringLiteral("--group"), QStringLiteral("--speed"), QStringLiteral("--streams"),
    QStringLiteral("--bind"), QStringLiteral("--wait"), QStringLiteral("--key"), QStringLiteral("--server-key") };
QStringList const flagOptions = { QStringLiteral("--xml"), QStringLiteral("--force"), QStringLiteral("--help"),
    QStringLiteral("-h"), QStringLiteral("--rate"), QStringLiteral("--version"), QStringLiteral("--rates"),
    QStringLiteral("--once"), QStringLiteral("--loop") };

} // namespace

QString CommandLine::value(QString const& option, QString const& fallback) const
{
    QStringList const list = options.value(option);
    return list.isEmpty() ? fallback : list.last();
}

CommandLine CommandLine::parse(QStringList const& arguments)
{
    CommandLine line;
    for (int i = 0; i < arguments.size(); ++i) {
        QString const& word = arguments[i];
        if (flagOptions.contains(word)) {
            line.options[word == QLatin1String("-h") ? QStringLiteral("--help") : word];
        } else if (valueOptions.contains(word)) {
            if (i + 1 >= arguments.size()) {
                line.error = QStringLiteral("%1 needs a value").arg(word);
                return line;
            }
            line.options[word] << arguments[++i];
        } else if (word.startsWith(QLatin1String("--")) && word.size() > 2) {
            line.error = QStringLiteral("unknown option %1").arg(word);
            return line;
        } else {
            line.words << word;
        }
    }
    return line;
}
