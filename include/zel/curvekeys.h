#pragma once

#include <zel/zel_export.h>

#include <QString>

#include <string>

namespace zel {

// A CURVE key pair as libzmq reads it: Z85 text, 40 characters each.
struct CurveKeyPair
{
    std::string publicKey;
    std::string secretKey;
};

// Making, checking and storing CURVE keys. A key file holds one key as one line of Z85 text:
// NAME.key the secret key (mode 0600), NAME.pub the public one.
class ZEL_EXPORT CurveKeys
{
public:
    static CurveKeyPair generate();
    // True for 40 characters of Z85 that decode to a key.
    static bool isKey(std::string const& text);
    // The public key of a secret one; empty when `secretKey` is no key.
    static std::string publicKeyOf(std::string const& secretKey);

    // The one key of a file; false with a reason when the file is unreadable or holds no key.
    static bool readKey(QString const& path, std::string& key, QString& error);
    // The pair from a secret key file, which must be readable by its owner only.
    static bool readKeyPair(QString const& secretKeyPath, CurveKeyPair& keys, QString& error);
    // Writes BASE.key (0600, made so before the key goes in) and BASE.pub; refuses to overwrite.
    static bool writeKeyPair(QString const& basePath, CurveKeyPair const& keys, QString& error);
};

} // namespace zel
