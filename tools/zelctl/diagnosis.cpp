#include "diagnosis.h"

#include "handshakeprobe.h"
#include "hostfailure.h"
#include "identities.h"
#include "invocation.h"

#include <zel/controlmessagehelper.h>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

using zel::ControlMessageHelper;

// The group and processor an identity names; `processor` is empty for the group itself.
struct Addressee
{
    QString group;
    QString processor;
};

int say(int code, QString const& text)
{
    std::fprintf(stderr, "zelctl: %s\n", qPrintable(text));
    return code;
}

// The names a service lists in its Parameter, or nothing when it did not answer.
std::optional<QStringList> listed(SystemClient& client, std::string const& identity, zelmsg::ControlMessage query)
{
    if (client.request(identity, query) != Outcome::Success)
        return std::nullopt;
    QString const names = query.GetParameter();
    return names.isEmpty() ? QStringList() : names.split(QLatin1Char(','));
}

// A group's name may hold a "/" (create-group --force), so the longest listed group that the path
// begins with wins; an unlisted one is read up to the first "/".
Addressee targetOf(QString const& path, QStringList const& groups)
{
    Addressee target { path.section(QLatin1Char('/'), 0, 0), path.section(QLatin1Char('/'), 1) };
    int longest = -1;
    for (QString const& group : groups) {
        bool const names = path == group || path.startsWith(group + QLatin1Char('/'));
        if (names && group.size() > longest) {
            longest = group.size();
            target = { group, path.mid(group.size() + 1) };
        }
    }
    return target;
}

} // namespace

int diagnoseSilence(SystemClient& client, std::string const& identity)
{
    QString const address = QString::fromStdString(client.address());
    std::string const manager = Identities::manager();
    // Asking the manager again would only double the wait.
    std::optional<QStringList> const groups = identity == manager
        ? std::nullopt
        : listed(client, manager, ControlMessageHelper::makeQueryProcessorGroupsMessage());
    if (!groups)
        return say(ExitTimeout, silenceReason(client.address(), std::min(client.timeout(), 2000)));
    QString const name = QString::fromStdString(identity);
    QString const groupsPrefix = QString::fromStdString(manager) + QLatin1Char('/');
    if (!name.startsWith(groupsPrefix))
        return say(ExitFailure, QStringLiteral("nothing answers to '%1' (zelhost at %2 answers)").arg(name, address));

    Addressee const target = targetOf(name.mid(groupsPrefix.size()), *groups);
    if (!groups->contains(target.group)) {
        QString const known = groups->isEmpty() ? QStringLiteral("none") : groups->join(QStringLiteral(", "));
        return say(ExitFailure,
            QStringLiteral("no group '%1' (zelhost at %2 answers; groups: %3)").arg(target.group, address, known));
    }
    QString const silentGroup = QStringLiteral("group '%1' does not answer (zelhost at %2 answers)");
    if (target.processor.isEmpty())
        return say(ExitTimeout, silentGroup.arg(target.group, address));
    if (target.processor == QLatin1String("nameservice"))
        return say(ExitTimeout, QStringLiteral("the name service of group '%1' does not answer").arg(target.group));
    std::optional<QStringList> const processors
        = listed(client, Identities::group(target.group), ControlMessageHelper::makeQueryProcessorsMessage());
    if (!processors)
        return say(ExitTimeout, silentGroup.arg(target.group, address));
    if (!processors->contains(target.processor))
        return say(ExitFailure, QStringLiteral("no processor '%1' in group '%2'").arg(target.processor, target.group));
    if (std::optional<QString> const reason = hostKnownFailure(client, identity))
        return say(ExitTimeout,
            QStringLiteral("processor '%1' in group '%2' ended by a failure: %3")
                .arg(target.processor, target.group, *reason));
    return say(ExitTimeout,
        QStringLiteral("processor '%1' in group '%2' does not answer: busy, or ended by a failure")
            .arg(target.processor, target.group));
}
