#pragma once

#include <QString>

class ConnectionString;

enum class TlsMode {
    IfOffered, // encrypted when the server offers it
    Required,  // no password goes to a server without TLS
    Verified   // nor to one whose certificate is not for its host, or of no authority that is trusted
};

// What a connection demands of its encryption, the same for both kinds of connection. Files are PEM.
struct TlsOptions {
    TlsMode mode = TlsMode::IfOffered;
    QString authority, authorityFolder; // whom to trust; none: those that the system trusts
    QString certificate, key;           // the user's own
    QString cipher;
    QString fingerprint; // SHA-1 of the server's certificate, in hex digits; any other is refused
    // Over a verified connection the password may be asked for as it stands (PAM, LDAP).
    bool allowsClearText = false;

    bool operator==(const TlsOptions &) const = default;

    // Whoever names an authority, a certificate or a fingerprint wants no connection without TLS.
    bool requiresTls() const;
    // Whether an encrypted connection is one to the right server.
    bool verifies() const { return mode == TlsMode::Verified || !fingerprint.isEmpty(); }

    // From the keys that MariaDB's ODBC driver has for them: FORCETLS, SSLVERIFY, SSLCA, SSLCAPATH, SSLCERT,
    // SSLKEY, SSLCIPHER, TLSPEERFP (or SSLFP), and ENABLE_CLEARTEXT_PLUGIN. Throws Failure where clear text
    // is to be allowed without verification.
    static TlsOptions of(const ConnectionString &string);
    static bool isKey(const QString &key);
    // The same as pieces of a connection string, each behind a ";"; empty where nothing is demanded.
    QString pieces() const;
};
