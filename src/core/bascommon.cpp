#include "core/bascommon.h"

#include "core/codepage.h"
#include "core/profilefile.h"
#include "core/statements.h"
#include "core/wholefile.h"

#include <QDir>
#include <QFile>

namespace {

// One row per setting, in the order in which they are read and written.
struct Setting {
    const char *section;
    const char *key;
    QString Session::*value;
    bool isPassword = false;
};

constexpr Setting settings[] = {
    {"DataBase", "dsn", &Session::gDsn},          {"DataBase", "driver", &Session::gDriver},
    {"DataBase", "server", &Session::gServer},    {"DataBase", "user", &Session::gUser},
    {"DataBase", "pass", &Session::gPass, true},  {"DataBase", "port", &Session::gPort},
    {"Query", "memo", &Session::gNoTextNoGrid},   {"Query", "memo1", &Session::gMemo1},
    {"Query", "memo2", &Session::gMemo2},         {"Query", "font", &Session::gFont},
    {"Query", "texte", &Session::gTextEditor},    {"Query", "textpath", &Session::gTextPath},
    {"Query", "delimiter", &Session::gDelimiter}, {"InOut", "inoutpath", &Session::gInOutPath},
};

constexpr int bufferSize = 200;

QString shifted(const QString &text, int step)
{
    QString result;
    for (const char32_t character : text.toStdU32String()) {
        char32_t moved = character + static_cast<char32_t>(step);
        // No character lives among the surrogates: step over them.
        if (moved >= 0xD800 && moved <= 0xDFFF)
            moved = step < 0 ? 0xD7FF : 0xE000;
        if (moved > QChar::LastValidCodePoint)
            moved = character;
        // Not QString::fromUcs4, which drops a U+FEFF as a byte order mark.
        result += QStringView(QChar::fromUcs4(moved));
    }
    return result;
}

// What is no mode is read as the strictest one.
TlsOptions tlsOf(const ProfileFile &file)
{
    const QString section = QStringLiteral("TLS");
    TlsOptions tls;
    const QString mode = file.value(section, QStringLiteral("mode"));
    if (mode.compare(u"required", Qt::CaseInsensitive) == 0)
        tls.mode = TlsMode::Required;
    else if (!mode.isEmpty() && mode.compare(u"if offered", Qt::CaseInsensitive) != 0)
        tls.mode = TlsMode::Verified;
    tls.authority = file.value(section, QStringLiteral("ca"));
    tls.authorityFolder = file.value(section, QStringLiteral("capath"));
    tls.certificate = file.value(section, QStringLiteral("cert"));
    tls.key = file.value(section, QStringLiteral("key"));
    tls.cipher = file.value(section, QStringLiteral("cipher"));
    tls.fingerprint = file.value(section, QStringLiteral("fingerprint"));
    tls.allowsClearText = file.value(section, QStringLiteral("cleartext")) == u"1";
    return tls;
}

void loadVariables(Session &session)
{
    session.gVariables.clear();
    QFile file(session.gVariableFile);
    if (!file.open(QIODevice::ReadOnly))
        return;
    for (QString name : listItems(fromCodePage(file.readAll())))
        session.gVariables.push_back({name.remove(u'@')});
}

QString saveVariables(const Session &session)
{
    QString text;
    for (const variablename &variable : session.gVariables)
        text += QString(variable.strVariableName).remove(u'@') + QStringLiteral("\r\n");
    return saveWholeFile(session.gVariableFile, toCodePage(text));
}

} // namespace

void sLoadSettings(Session &session)
{
    session.gDsn = QStringLiteral("(なし)");
    session.gDriver = QStringLiteral("MySQL ODBC 3.51 Driver");
    session.gServer.clear();
    session.gUser.clear();
    session.gDbName.clear();
    session.gPass.clear();
    session.gIniPath = session.programFolder + QDir::separator() + QStringLiteral("Tarnwell.ini");
    session.gVariableFile = session.programFolder + QDir::separator() + QStringLiteral("variable.dat");
    const ProfileFile file(session.gIniPath);
    for (const Setting &setting : settings) {
        const QString text =
            fIniRead(file, QLatin1String(setting.section), QLatin1String(setting.key), {}, bufferSize);
        if (!text.isEmpty())
            session.*setting.value = setting.isPassword ? shiftedUp(text) : text;
    }
    session.tls = tlsOf(file);
    loadVariables(session);
}

QString sSaveSettings(const Session &session)
{
    ProfileFile file(session.gIniPath);
    for (const Setting &setting : settings) {
        const QString &value = session.*setting.value;
        fIniWrite(file, QLatin1String(setting.section), QLatin1String(setting.key),
                  setting.isPassword ? shiftedDown(value) : value);
    }
    const QString failure = file.save();
    return failure.isEmpty() ? saveVariables(session) : failure;
}

QString fIniRead(const ProfileFile &file, const QString &section, const QString &key, const QString &fallback,
                 int size)
{
    QString text = file.value(section, key).left(size - 1);
    if (const qsizetype nul = text.indexOf(QChar(0)); nul >= 0)
        text.truncate(nul);
    text = trimmedBlanks(text);
    return text.isEmpty() ? fallback : text;
}

void fIniWrite(ProfileFile &file, const QString &section, const QString &key, const QString &value)
{
    file.setValue(section, key, value);
}

int fPlatformId()
{
    return 2;
}

QString shiftedDown(const QString &password)
{
    return shifted(password, -1);
}

QString shiftedUp(const QString &stored)
{
    return shifted(stored, 1);
}

QStringList listItems(const QString &text)
{
    QStringList items;
    qsizetype at = 0;
    const auto atLineEnd = [&] { return text[at] == u'\r' || text[at] == u'\n'; };
    while (at < text.size()) {
        while (at < text.size() && text[at] == u' ')
            ++at;
        QString item;
        if (at < text.size() && text[at] == u'"') {
            const qsizetype end = text.indexOf(u'"', at + 1);
            item = text.mid(at + 1, end < 0 ? -1 : end - at - 1);
            at = end < 0 ? text.size() : end + 1;
            while (at < text.size() && text[at] != u',' && !atLineEnd())
                ++at;
        } else {
            const qsizetype start = at;
            while (at < text.size() && text[at] != u',' && !atLineEnd())
                ++at;
            item = trimmedBlanks(text.mid(start, at - start));
        }
        items << item;
        if (at < text.size() && text[at] == u'\r' && at + 1 < text.size() && text[at + 1] == u'\n')
            ++at;
        ++at;
    }
    return items;
}
