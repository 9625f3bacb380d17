#include "maintenance/backup/objectfile.h"

#include "core/session/wholefile.h"
#include "core/sql/failure.h"

#include <QDir>
#include <QFileInfo>

namespace {

[[noreturn]] void fail(const QString &path, const QString &why)
{
    throw Failure(QStringLiteral("ファイル「%1」を作成できません。\r\n%2").arg(path, why));
}

} // namespace

QString withSeparator(const QString &folder)
{
    return folder.endsWith(QDir::separator()) ? folder : folder + QDir::separator();
}

QString objectFile(const QString &folder, const QString &name, const QString &suffix)
{
    const QString path = withSeparator(folder) + name + suffix;
    if (name.contains(u'/') || name.contains(QDir::separator()))
        fail(path, QStringLiteral("ファイル名に使えない文字があります。"));
    return path;
}

void writeWholeFile(const QString &path, const QByteArray &bytes)
{
    // The folder was chosen, not what somebody else's link in it leads to.
    if (QFileInfo(path).isSymLink())
        fail(path, QStringLiteral("シンボリックリンクの先には書き込みません。"));
    const QString failure = saveWholeFile(path, bytes);
    if (!failure.isEmpty())
        fail(path, failure);
}

void writeNewFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        fail(path, file.errorString());
    if (writeAll(file, bytes))
        return;
    const QString why = file.errorString();
    file.remove();
    fail(path, why);
}
