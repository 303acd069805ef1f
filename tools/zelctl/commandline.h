#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

// The parsed words of a zelctl call: options (anywhere) and the rest in order.
struct CommandLine
{
    QStringList words; // the command and its arguments
    QMap<QString, QStringList> options; // "--stream" -> its values, "--xml" -> {}
    QString error; // set when the words do not parse

    bool has(QString const& option) const { return options.contains(option); }
    QString value(QString const& option, QString const& fallback = QString()) const;
    QStringList values(QString const& option) const { return options.value(option); }

    static CommandLine parse(QStringList const& arguments);
};
