// Statements that hold a password, among all that may stand in quotes around it.
#include "core/sql/passwords.h"
#include "fuzz.h"

namespace {

const QString secret = QStringLiteral("s3cr3t");

// Pieces that each end outside of quotes, as the server reads them.
const QStringList pieces{
    QStringLiteral("grant usage on *.* to "),
    QStringLiteral("'it''s'@"),
    QStringLiteral("\"o'brien\"@"),
    QStringLiteral("'a\"b' "),
    QStringLiteral("`it's`.* "),
    QStringLiteral("`say \"x`"),
    QStringLiteral("'\\''"),
    QStringLiteral("\"\\\"'\" "),
    QStringLiteral("'\\\\' "),
    QStringLiteral("identified by "),
    QStringLiteral("\"\"\"\" "),
    QStringLiteral("''''"),
    QStringLiteral("`a``'b`"),
    QStringLiteral("/* it's */ "),
    QStringLiteral(", "),
    QStringLiteral("-- don't\n"),
    QStringLiteral("# \"\n"),
    QStringLiteral("set password = "),
};
const QStringList holders{QStringLiteral("'%1'"),    QStringLiteral("\"%1\""),  QStringLiteral("'x''%1'"),
                          QStringLiteral("\"'%1\""), QStringLiteral("'\\'%1'"), QStringLiteral("%1"),
                          QStringLiteral("`%1`"),    QStringLiteral("by '%1")};

QString chosen(const QByteArray &bytes, qsizetype from, qsizetype to)
{
    QString text;
    for (qsizetype i = from; i < to; ++i)
        text += pieces[static_cast<unsigned char>(bytes[i]) % pieces.size()];
    return text;
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {"set pasword = geheim",
            "update mysql . user set x='y' -- \"",
            "/*!50100 identified by*/ 'a' b",
            "concat('set pass','word=1')",
            "set password 0x12b'a',x",
            "b'\nxb'set passwrd",
            "\x01\x02\x03",
            std::string_view("\x00\x04\x01\x09\x00", 5),
            "\x0d\x0f\x10\x11\x02",
            "password 'a' `it's` /* \"x */ -- y'\n\"b"};
}

void check(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return;
    const unsigned char choice = static_cast<unsigned char>(bytes[0]);
    const qsizetype middle = 1 + choice % bytes.size();
    const QString statement = chosen(bytes, 1, middle) + QStringLiteral("identified by ") +
                              holders[choice % holders.size()].arg(secret) + u' ' +
                              chosen(bytes, middle, bytes.size());
    const QString masked = maskedPasswords(statement);
    require(!masked.contains(secret), "a password is never shown", {statement, masked});
    // A server's refusal quotes the statement from some place on, in quotes of its own, and cuts it
    // somewhere.
    const QString quoted = statement.mid(choice % statement.size(), 80);
    const QString words = QStringLiteral("You have an error near '") + quoted + QStringLiteral("' at line 1");
    const QString shown = withoutQuotedPart(words);
    require(!shown.contains(secret), "the server's quotation shows no password", {words, shown});

    const QString any = QString::fromUtf8(bytes), once = maskedPasswords(any);
    require(maskedPasswords(once) == once, "masking twice is masking once", {any, once});
    require(holdsPassword(any) || maskedPasswords(any) == any, "other texts stay as they are", {any});
}
