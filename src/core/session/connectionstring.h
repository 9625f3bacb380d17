#pragma once

#include <QString>

#include <chrono>
#include <vector>

// The pieces of "key=value;key={value};...": keys in lower case and trimmed, braces around a value taken off
// ("}}" inside them stands for one). A piece without "=" has the whole piece as key and an empty value.
class ConnectionString {
public:
    struct Piece {
        QString key;
        QString value;
    };

    explicit ConnectionString(const QString &text);

    const std::vector<Piece> &pieces() const { return m_pieces; }
    // The first piece of that key counts, as the driver manager has it; empty when there is none.
    QString value(const QString &key) const;

private:
    std::vector<Piece> m_pieces;
};

// The text without the pieces of a key, which is given in lower case.
QString withoutKey(const QString &text, const QString &key);

// A data source as it may be shown and noted: as a connection string it may hold a password.
QString shownSource(const QString &source);

// How long a connect may take: CONN_TIMEOUT in seconds, else 20 seconds.
std::chrono::seconds connectLimit(const ConnectionString &string);

// The key of the name that a verified certificate is to be for, where it is not that of the host: a tunnel's
// end is on this machine.
QString certificateHostKey();

// A value as it may stand in a connection string: in the braces of ODBC where it would end too soon, lose its
// blanks or be taken for one in braces, so that what comes after it reached another database, port or
// account.
QString connectionValue(const QString &text);

// A data source's name alone, without "=", stands for "DSN=" and itself.
QString dataSourceString(const QString &text);

// The text with the piece "SERVER=" + host at its end, unless a key spelled exactly so stands in it already.
QString withServer(const QString &text, const QString &host);
