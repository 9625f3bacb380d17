// What all fuzzers share: the entries that libFuzzer calls.
#include "fuzz.h"

#include "core/sql/failure.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// libFuzzer declares neither.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

QString writeSeeds(const QString &program)
{
    const QString folder = QFileInfo(program).absoluteFilePath() + QStringLiteral("-corpus");
    QDir().mkpath(folder);
    for (const std::string_view seed : seeds()) {
        const QByteArray bytes(seed.data(), static_cast<qsizetype>(seed.size()));
        const QByteArray name = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
        QFile file(folder + u'/' + QString::fromLatin1(name));
        require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "the seeds are written",
                {file.errorString()});
    }
    return folder;
}

} // namespace

void require(bool holds, const char *claim, const QStringList &texts)
{
    if (holds)
        return;
    std::fprintf(stderr, "DOES NOT HOLD: %s\n", claim);
    for (const QString &text : texts)
        std::fprintf(stderr, "  [%s]\n", qPrintable(text));
    std::abort();
}

QStringList texts(const QByteArray &bytes, int count)
{
    QStringList texts;
    const QList<QByteArray> pieces = bytes.split('\x01');
    for (int i = 0; i < count; ++i)
        texts << QString::fromUtf8(pieces.value(i));
    return texts;
}

QString squeezed(const QString &text)
{
    QString rest;
    for (const QChar c : text)
        if (c != u' ' && c != u'\t' && c != u'\r' && c != u'\n')
            rest += c;
    return rest;
}

int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static std::vector<char *> arguments(*argv, *argv + *argc);
    static QByteArray folder;
    // A single file, as libFuzzer's own message names it, is tried again without a search.
    const bool isSearch = std::none_of(arguments.begin() + 1, arguments.end(),
                                       [](const char *argument) { return argument[0] != '-'; });
    if (!isSearch)
        return 0;
    folder = writeSeeds(QString::fromLocal8Bit(arguments.front())).toLocal8Bit();
    arguments.push_back(folder.data());
    *argc = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    *argv = arguments.data();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        check(QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    } catch (const Failure &) {
        // A refusal in words is a good answer to nonsense.
    }
    return 0;
}
