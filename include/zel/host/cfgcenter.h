#pragma once

#include <zel/host/icfg.h>

// Opens configurations: NAME.ini in the folder named by ZEL_CONFIG_DIR, or the current folder.
class ZELHOSTFRAMEWORK_EXPORT CfgCenter
{
public:
    // A new configuration that the caller deletes, or null when there is no such file. The view and
    // the text are the host's interface; an INI file needs neither.
    static ICfg* CreateCfg(QString name, ICfg::View view, QString text);
};
