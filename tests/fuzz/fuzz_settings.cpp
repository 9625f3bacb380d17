// The settings file and the file of variable names, as another program or a broken disk may have left them.
#include "core/session/bascommon.h"
#include "core/session/codepage.h"
#include "core/sql/statements.h"
#include "fuzz.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "the file is written");
}

void checkCodePage(const QByteArray &bytes)
{
    const QString text = fromCodePage(bytes);
    require(fromCodePage(toCodePage(text)) == text, "a text that was read can be written and read again",
            {text, fromCodePage(toCodePage(text))});
    const int length = codePageLength(text);
    require(length >= 0 && length <= 2 * text.size(), "a character takes one byte or two", {text});
}

QStringList values(const Session &session)
{
    return {session.gDsn,   session.gDriver,   session.gServer,    session.gUser,
            session.gPass,  session.gPort,     session.gFont,      session.gMemo1,
            session.gMemo2, session.gTextPath, session.gDelimiter, session.gInOutPath};
}

QStringList names(const Session &session)
{
    QStringList names;
    for (const variablename &variable : session.gVariables)
        names << variable.strVariableName;
    return names;
}

void checkSession(const QString &folder)
{
    Session first, second;
    first.programFolder = second.programFolder = folder;
    sLoadSettings(first);
    require(sSaveSettings(first).isEmpty(), "the settings are saved");
    sLoadSettings(second);
    // The disguise turns "!" into a blank, and the file's format drops blanks at both ends.
    if (const QString stored = shiftedDown(first.gPass); stored != trimmedBlanks(stored))
        first.gPass = second.gPass;
    require(values(first) == values(second), "settings that were read are kept",
            values(first) + values(second));
    // What stands in quotes may hold what divides names; such a name is none.
    static const QRegularExpression divider(QStringLiteral("[\",\r\n]|^ | $"));
    const bool areNames = names(first).filter(divider).isEmpty();
    require(!areNames || names(first) == names(second), "variable names that were read are kept",
            names(first) + names(second));
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {"[DataBase]\r\ndsn=demo\r\npass=abc\r\nport=3306\r\n[Query]\r\nfont=9\r\n\x01x\ny,\"z\"",
            "; comment\n[ query ]\nMEMO1 = a=b \n\n[InOut]\nmemo1=1\x01 value \r tail",
            "\xEF\xBB\xBF[Query]\r\nmemo1=\xE6\x97\xA5\xE6\x9C\xAC\x01\xF0\x9F\x98\x80",
            "[Query]\r\nmemo1=\x93\xFA\x96\x7B \xB1\xB2\x01\xC3\xA9",
            "\xFF\xFE[\0Q\0]\0",
            "[DataBase\npass=\xEE\x80\x80\xED\x9F\xBF\n]=[\n=\n\x01@a\r\n@b,@c,\"d\"e\r\n,"};
}

void check(const QByteArray &bytes)
{
    static const QTemporaryDir folder;
    const qsizetype end = bytes.indexOf('\x01');
    const QByteArray settings = bytes.left(end), rest = end < 0 ? QByteArray() : bytes.mid(end + 1);
    checkCodePage(settings);
    write(folder.filePath(QStringLiteral("Tarnwell.ini")), settings);
    write(folder.filePath(QStringLiteral("variable.dat")), rest);
    checkSession(folder.path());
}
