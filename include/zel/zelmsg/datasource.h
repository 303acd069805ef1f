#pragma once

#include <zel/zelmsg/recordfields.h>

namespace zelmsg {

// One input of a processor.
class ZEL_EXPORT DataSource : public RECORDMODEL::IRMObject
{
public:
    enum Protocol : qint8 { Sub, Tcp, TcpClient, Udp };
    enum ByteOrder : qint8 { Host, Network };

    static constexpr qint64 id = 0x27EB9316;

    ZELMSG_RECORD_MEMBERS(DataSource)

    // The fields, in field order. recordfields.h says where the bodies of these accessors come from.
    // How the source is reached; reads SUB while unset.
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

    // Where the source is.
    QString GetAddress() const;
    QString GetDefaultAddress() const;
    bool IsValidAddress(QString const& value) const;
    bool IsAddressSet() const;
    void SetAddress(QString value);
    void ResetAddress();

    // Byte order of the data; reads Host while unset.
    ByteOrder const& GetByteOrder() const;
    ByteOrder GetDefaultByteOrder() const;
    ByteOrder GetInvalidByteOrder() const;
    bool IsValidByteOrder(ByteOrder const& value) const;
    bool IsByteOrderSet() const;
    void SetByteOrder(ByteOrder const& value);
    void ResetByteOrder();
    QString GetByteOrderAsString() const;
    QString ByteOrderToName(ByteOrder const& value) const;
    ByteOrder NameToByteOrder(QString const& name) const;
    static QStringList const& GetByteOrders();
    static QStringList GetGUIByteOrders();

    // Filters on the source.
    QVector<QString> const& GetFilter() const;
    QVector<QString>& GetFilter();
    QString GetDefaultFilter() const;
    bool IsValidFilter(QVector<QString> const& value) const;
    bool IsValidFilter(QString const& value) const;
    bool IsFilterSet() const;
    void SetFilter(QVector<QString> const& value);
    void AppendFilter(QString const& value);
    void ResetFilter();

    ZELMSG_DECLARE_TR
};

} // namespace zelmsg
