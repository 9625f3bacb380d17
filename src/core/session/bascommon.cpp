#include "core/session/bascommon.h"

#include "core/session/codepage.h"
#include "core/session/profilefile.h"
#include "core/session/wholefile.h"
#include "core/sql/statements.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryFile>

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

// A value loses the blanks at its ends, and those of a password are disguised "!": such a one stands in
// quotes beside it, for as long as the two agree.
const QString quotedPassKey = QStringLiteral("passquoted");

QString withBlanks(const ProfileFile &file, const QString &section, const QString &stored)
{
    const QString quoted = file.value(section, quotedPassKey);
    if (quoted.size() < 2 || !quoted.startsWith(u'"') || !quoted.endsWith(u'"'))
        return stored;
    const QString whole = quoted.mid(1, quoted.size() - 2);
    return trimmedBlanks(whole) == stored ? whole : stored;
}

void keepBlanks(ProfileFile &file, const QString &section, const QString &stored)
{
    if (trimmedBlanks(stored) != stored)
        file.setValue(section, quotedPassKey, u'"' + stored + u'"');
    else if (file.holds(section, quotedPassKey))
        file.setValue(section, quotedPassKey, {});
}

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

QStringList readVariables(const QString &path)
{
    QStringList names;
    QFile file(path);
    if (whyLeftAlone(path).isEmpty() && file.open(QIODevice::ReadOnly))
        for (QString name : listItems(fromCodePage(file.readAll())))
            names << name.remove(u'@');
    return names;
}

// The session's names, and those that another program added since they were read.
QString saveVariables(const Session &session)
{
    if (const QString why = whyLeftAlone(session.gVariableFile); !why.isEmpty())
        return why;
    QStringList names;
    for (const variablename &variable : session.gVariables)
        names << QString(variable.strVariableName).remove(u'@');
    for (const QString &name : readVariables(session.gVariableFile))
        if (!session.variablesAsRead.contains(name) && !names.contains(name))
            names << name;
    QString text;
    for (const QString &name : names)
        text += name + QStringLiteral("\r\n");
    const QString failure = saveWholeFile(session.gVariableFile, toCodePage(text));
    return failure.isEmpty() ? failure : session.gVariableFile + QStringLiteral(": ") + failure;
}

// Asked of the file system itself: what permissions say is not all of it.
bool canWriteIn(const QString &folder)
{
    return QTemporaryFile(folder + QStringLiteral("/Tarnwell")).open();
}

// The program's own; where it is there and cannot be written, the user's configuration folder.
QString chosenSettingsFolder(const QString &programFolder)
{
    const QString users =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/Tarnwell");
    const bool isProgramFolder = !QFileInfo(programFolder).isDir() || canWriteIn(programFolder);
    return isProgramFolder || !QDir().mkpath(users) ? programFolder : users;
}

void copyOrdinary(const QString &from, const QString &to)
{
    if (whyLeftAlone(from).isEmpty())
        QFile::copy(from, to);
}

// True for the first time in the user's own folder.
bool findFolder(Session &session)
{
    const QString iniName = QStringLiteral("/Tarnwell.ini"), listName = QStringLiteral("/variable.dat");
    session.settingsFolder = chosenSettingsFolder(session.programFolder);
    session.gIniPath = QDir::toNativeSeparators(session.settingsFolder + iniName);
    session.gVariableFile = QDir::toNativeSeparators(session.settingsFolder + listName);

    const bool isFirstTime =
        session.settingsFolder != session.programFolder && !QFileInfo::exists(session.gIniPath);
    if (isFirstTime) { // a program that is installed for all may bring settings to begin with
        copyOrdinary(session.programFolder + iniName, session.gIniPath);
        copyOrdinary(session.programFolder + listName, session.gVariableFile);
    }
    return isFirstTime;
}

} // namespace

QString sLoadSettings(Session &session)
{
    session.gDsn = QStringLiteral("(なし)");
    session.gDriver = QStringLiteral("MySQL ODBC 3.51 Driver");
    session.gServer.clear();
    session.gUser.clear();
    session.gDbName.clear();
    session.gPass.clear();
    const bool isFirstTime = findFolder(session);
    const ProfileFile file(session.gIniPath);
    session.settingsAsRead.clear();
    for (const Setting &setting : settings) {
        const QLatin1String section(setting.section);
        QString text = fIniRead(file, section, QLatin1String(setting.key), {}, bufferSize);
        if (setting.isPassword)
            text = withBlanks(file, section, text);
        if (!text.isEmpty())
            session.*setting.value = setting.isPassword ? shiftedUp(text) : text;
        session.settingsAsRead << session.*setting.value;
    }
    session.tls = tlsOf(file);
    session.variablesAsRead = readVariables(session.gVariableFile);
    session.gVariables.clear();
    for (const QString &name : session.variablesAsRead)
        session.gVariables.push_back({name});
    if (!file.refusal().isEmpty())
        return file.refusal();
    withdrawFromOthers(session.gIniPath);
    // Where a package of the system put it, nobody expects to write.
    const bool isOfSystem = session.programFolder.startsWith(QStringLiteral("/usr/"));
    return isFirstTime && !isOfSystem
               ? QStringLiteral("プログラムのフォルダーに書き込めないため、設定は「%1」に保存します。")
                     .arg(QDir::toNativeSeparators(session.settingsFolder))
               : whyLeftAlone(session.gVariableFile);
}

QString sSaveSettings(const Session &session)
{
    const FileLock lock(session.gIniPath);
    ProfileFile file(session.gIniPath);
    qsizetype place = 0;
    for (const Setting &setting : settings) {
        // A saved connection says itself where its password is kept.
        const bool isKeptElsewhere = setting.isPassword && session.profile.isSaved();
        const QString value = isKeptElsewhere ? QString() : session.*setting.value;
        const QLatin1String section(setting.section), key(setting.key);
        const bool isAsRead = place < session.settingsAsRead.size() && session.settingsAsRead[place] == value;
        if (!isAsRead || !file.holds(section, key)) {
            const QString stored = setting.isPassword ? shiftedDown(value) : value;
            fIniWrite(file, section, key, stored);
            if (setting.isPassword)
                keepBlanks(file, section, stored);
        }
        ++place;
    }
    const QString failure = file.save();
    return failure.isEmpty() ? saveVariables(session) : session.gIniPath + QStringLiteral(": ") + failure;
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
