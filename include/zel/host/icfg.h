#pragma once

#include <zel/host/zelhostframework_export.h>

#include <QString>
#include <QStringList>

// A configuration opened by CfgCenter.
class ZELHOSTFRAMEWORK_EXPORT ICfg
{
public:
    enum View { User = 0, Machine = 1, Application = 2 };

    virtual ~ICfg();
    // The value of a top-level key, or defaultValue when the key is absent.
    virtual QString GetValue(QString const& key, QString const& defaultValue, int flags) const = 0;
    // Every key the configuration holds, so that a host can point out the ones it does not know.
    virtual QStringList GetKeys() const = 0;
};
