// Connection strings, list items and the first words of statements.
#include "core/basconnection.h"
#include "core/connectionstring.h"
#include "core/listitem.h"
#include "core/odbc/statementkind.h"
#include "core/sqlerror.h"
#include "fuzz.h"

namespace {

void checkPieces(const QString &text, const QString &key, const QString &value)
{
    const ConnectionString given(text);
    for (const ConnectionString::Piece &piece : given.pieces())
        require(piece.key == piece.key.trimmed().toLower() && !piece.key.contains(u';'),
                "keys are trimmed and in lower case", {text, piece.key});
    QString enclosed = value;
    enclosed.replace(u'}', QStringLiteral("}}"));
    const QString composed =
        QStringLiteral("a=b;") + key + QStringLiteral("={") + enclosed + QStringLiteral("};c=d");
    const ConnectionString parsed(composed);
    if (!key.contains(u'=') && !key.contains(u';') && key.trimmed().toLower() != u"a" &&
        !key.trimmed().isEmpty())
        require(parsed.value(key.trimmed().toLower()) == value && parsed.pieces().size() == 3,
                "what is enclosed comes back", {composed, parsed.value(key.trimmed().toLower())});
}

void checkServer(const QString &text)
{
    const QString completed = withServer(text, QStringLiteral("localhost"));
    require(completed.startsWith(text), "completing adds at the end", {text, completed});
    require(completed == text || namesLocalServer(completed), "the server that was added is found",
            {text, completed});
    require(withServer(completed, QStringLiteral("other")) == completed, "it is added once", {completed});
}

void checkListItem(const QString &text)
{
    const ListItem item = ListItem::parse(text);
    require(!item.tag.contains(u'\t'), "the first TAB divides", {text});
    const ListItem again = ListItem::parse(item.text());
    require(again.tag == item.tag && again.name == item.name, "an item comes back", {text});
    require(!text.contains(u'\t') || ListItem::required(text).text() == text, "an item is its text", {text});
}

// What a server passes over must not hide what kind of statement the driver gets.
void checkKind(const QString &text)
{
    for (const QString &before :
         {QStringLiteral(" \r\n\t"), QStringLiteral("-- a\n"), QStringLiteral("/* ; */"),
          QStringLiteral("# x\n("), QStringLiteral("(("), QStringLiteral("/**/")}) {
        require(StatementKind::mayLeaveRowsUnread(before + text) == StatementKind::mayLeaveRowsUnread(text) &&
                    StatementKind::isPrepared(before + text) == StatementKind::isPrepared(text),
                "comments and blanks in front change nothing", {before, text});
    }
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {"driver={MySQL ODBC 3.51 Driver};server=localhost;uid=a;pwd={p;}}};port=3306\x01pwd\x01p;}=",
            "DSN=demo\x01 SERVER \x01 {x} ",
            "server=a;SERVER =b;;=;x\x01option\x01}",
            "[TABLE]\tname\x01k\x01v",
            "/* x */ (select 1)\x01\x01",
            "-- a\n# b\nOPTIMIZE table t\x01k\x01",
            "/*!40000 alter table t analyze partition p */",
            "xa recover convert xid",
            "load index into cache t"};
}

void check(const QByteArray &bytes)
{
    const QStringList parts = texts(bytes, 3);
    checkPieces(parts[0], parts[1], parts[2]);
    checkServer(parts[0]);
    checkListItem(parts[0]);
    checkKind(parts[0]);
}
