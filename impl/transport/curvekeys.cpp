#include <zel/curvekeys.h>

#include <QFile>
#include <QFileDevice>

#include <zmq.hpp>

#include <array>
#include <cstdint>

namespace zel {

namespace {

size_t const keyTextSize = 40;

QFileDevice::Permissions const ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
QFileDevice::Permissions const othersAny = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup
    | QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;

bool writeNew(QString const& path, std::string const& line, QFileDevice::Permissions permissions, QString& error)
{
    QFile file(path);
    // The permissions go on while the file is still empty, so that a secret is never readable by others.
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly) || !file.setPermissions(permissions)
        || file.write(QByteArray::fromStdString(line + "\n")) < 0 || !file.flush()) {
        error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace

CurveKeyPair CurveKeys::generate()
{
    char publicKey[keyTextSize + 1] = {};
    char secretKey[keyTextSize + 1] = {};
    if (zmq_curve_keypair(publicKey, secretKey) != 0)
        throw zmq::error_t();
    return { publicKey, secretKey };
}

bool CurveKeys::isKey(std::string const& text)
{
    std::array<uint8_t, 32> bytes {};
    return text.size() == keyTextSize && zmq_z85_decode(bytes.data(), text.c_str()) != nullptr;
}

std::string CurveKeys::publicKeyOf(std::string const& secretKey)
{
    char publicKey[keyTextSize + 1] = {};
    if (!isKey(secretKey) || zmq_curve_public(publicKey, secretKey.c_str()) != 0)
        return {};
    return publicKey;
}

bool CurveKeys::readKey(QString const& path, std::string& key, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    // A key is short; a big file is no key file.
    std::string const text = file.read(1024).trimmed().toStdString();
    if (!isKey(text)) {
        error = QStringLiteral("%1 holds no key (one line of 40 characters in Z85, as zelctl keygen writes)").arg(path);
        return false;
    }
    key = text;
    return true;
}

bool CurveKeys::readKeyPair(QString const& secretKeyPath, CurveKeyPair& keys, QString& error)
{
#ifndef _WIN32
    if (QFile::exists(secretKeyPath) && (QFile::permissions(secretKeyPath) & othersAny)) {
        error = QStringLiteral("%1 is readable by others than its owner (chmod 600 it)").arg(secretKeyPath);
        return false;
    }
#endif
    std::string secret;
    if (!readKey(secretKeyPath, secret, error))
        return false;
    keys = { publicKeyOf(secret), secret };
    return true;
}

bool CurveKeys::writeKeyPair(QString const& basePath, CurveKeyPair const& keys, QString& error)
{
    QString const secretPath = basePath + QStringLiteral(".key");
    QString const publicPath = basePath + QStringLiteral(".pub");
    for (QString const& path : { secretPath, publicPath }) {
        if (QFile::exists(path)) {
            error = QStringLiteral("%1 exists; zelctl keygen does not overwrite keys").arg(path);
            return false;
        }
    }
    return writeNew(secretPath, keys.secretKey, ownerOnly, error)
        && writeNew(publicPath, keys.publicKey, ownerOnly | QFileDevice::ReadGroup | QFileDevice::ReadOther, error);
}

} // namespace zel
