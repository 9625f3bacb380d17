#include "core/driver/native/localfile.h"

#include "core/sql/statements.h"

#include <QFile>

#include <utility>

// What the library asks for in turn: begin, read until nothing comes, where something failed its words, end.
struct LocalFile::Reader {
    QFile file;
    QString error;
};

LocalFile::LocalFile(const QString &path)
    : m_path(path.toStdString())
    , m_statement((QStringLiteral("LOAD DATA LOCAL INFILE ") + quotedText(path) + u' ').toStdString())
{
}

void LocalFile::serveOn(MYSQL *handle)
{
    mysql_set_local_infile_handler(handle, begin, read, end, fail, this);
}

void LocalFile::expect(std::string_view statement)
{
    m_isExpected = statement.starts_with(m_statement);
}

int LocalFile::begin(void **reader, const char *name, void *self)
{
    auto &own = *static_cast<LocalFile *>(self);
    auto *made = new Reader;
    *reader = made;
    if (!std::exchange(own.m_isExpected, false) || name != own.m_path)
        made->error = QStringLiteral("サーバーが、頼んでいないファイル「%1」を求めました。渡していません。")
                          .arg(QString::fromUtf8(name));
    else if (made->file.setFileName(QString::fromStdString(own.m_path));
             !made->file.open(QIODevice::ReadOnly))
        made->error = made->file.errorString();
    return made->error.isEmpty() ? 0 : 1;
}

int LocalFile::read(void *reader, char *buffer, unsigned size)
{
    auto &own = *static_cast<Reader *>(reader);
    const auto count = static_cast<int>(own.file.read(buffer, size));
    if (count < 0)
        own.error = own.file.errorString();
    return count;
}

void LocalFile::end(void *reader)
{
    delete static_cast<Reader *>(reader);
}

int LocalFile::fail(void *reader, char *words, unsigned size)
{
    constexpr int fileNotFound = 2; // as the library's own handler numbers it
    qstrncpy(words, static_cast<Reader *>(reader)->error.toUtf8().constData(), size);
    return fileNotFound;
}
