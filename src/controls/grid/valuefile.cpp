#include "controls/grid/valuefile.h"

#include <QFile>
#include <QFileInfo>

namespace {

constexpr qint64 mostMegabytes = 64, mostBytes = mostMegabytes * 1024 * 1024;

} // namespace

ValueFile readValueFile(const QString &path)
{
    // A pipe would never end.
    if (const QFileInfo named(path); named.exists() && !named.isFile())
        return {{}, QStringLiteral("通常のファイルではありません。")};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, file.errorString()};
    const QByteArray bytes = file.read(mostBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return {{}, file.errorString()};
    if (bytes.size() > mostBytes)
        return {{}, QStringLiteral("ファイルが大きすぎます。%1 MB までです。").arg(mostMegabytes)};
    return {bytes, {}};
}

QString valueFileTitle()
{
    return QStringLiteral("値をファイルから読む (%1 MB まで)").arg(mostMegabytes);
}
