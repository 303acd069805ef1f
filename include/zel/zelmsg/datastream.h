#pragma once

#include <zel/zelmsg/recordfields.h>

namespace zelmsg {

// One output stream of a processor.
class ZEL_EXPORT DataStream : public RECORDMODEL::IRMObject
{
public:
    enum Protocol : qint8 { Pub };

    static constexpr qint64 id = 0xC3AA87AB;

    ZELMSG_RECORD_MEMBERS(DataStream)

    // The fields, in field order. recordfields.h says where the bodies of these accessors come from.
    // Name of the stream; the one mandatory field, and an empty name is a name.
    QString GetName() const;
    QString GetDefaultName() const;
    bool IsValidName(QString const& value) const;
    bool IsNameSet() const;
    void SetName(QString value);
    void ResetName();

    // How the stream is offered; PUB is the only value.
    Protocol const& GetProtocol() const;
    Protocol GetDefaultProtocol() const;
    Protocol GetInvalidProtocol() const;
    bool IsValidProtocol(Protocol const& value) const;
    bool IsProtocolSet() const;
    void SetProtocol(Protocol const& value);
    void ResetProtocol();
    QString GetProtocolAsString() const;
    QString ProtocolToName(Protocol const& value) const;
    Protocol NameToProtocol(QString const& name) const;
    static QStringList const& GetProtocols();
    static QStringList GetGUIProtocols();

    // Addresses of the stream.
    QVector<QString> const& GetAddress() const;
    QVector<QString>& GetAddress();
    QString GetDefaultAddress() const;
    bool IsValidAddress(QVector<QString> const& value) const;
    bool IsValidAddress(QString const& value) const;
    bool IsAddressSet() const;
    void SetAddress(QVector<QString> const& value);
    void AppendAddress(QString const& value);
    void ResetAddress();

    // Whether the stream runs; set by the configuration tool and carried.
    bool GetRunning() const;
    bool GetDefaultRunning() const;
    bool IsRunningSet() const;
    void SetRunning(bool value);
    void ResetRunning();

    ZELMSG_DECLARE_TR
};

} // namespace zelmsg
