#include "core/driver/native/localfile.h"

#include <memory>
#include <new>
#include <utility>

namespace {

// What the library asks for in turn: begin, read until nothing comes, where something failed its words, end.
struct Reader {
    LocalSource source;
    std::optional<Failure> &failure;
};

} // namespace

LocalFile::LocalFile(const QString &name)
    : m_name(name.toStdString())
{
}

void LocalFile::serveOn(MYSQL *handle)
{
    mysql_set_local_infile_handler(handle, begin, read, end, fail, this);
}

void LocalFile::offer(const LocalSource &source)
{
    m_source = source;
    m_failure.reset();
}

void LocalFile::requireNoFailure() const
{
    if (m_failure)
        throw Failure(*m_failure);
}

int LocalFile::begin(void **reader, const char *name, void *self)
{
    auto &own = *static_cast<LocalFile *>(self);
    auto made = std::make_unique<Reader>(Reader{std::exchange(own.m_source, nullptr), own.m_failure});
    if (!made->source || name != own.m_name)
        own.m_failure =
            Failure(QStringLiteral("サーバーが、頼んでいないファイル「%1」を求めました。渡していません。")
                        .arg(QString::fromUtf8(name)));
    *reader = made.release();
    return own.m_failure ? 1 : 0;
}

// Exceptions must not pass through the library.
int LocalFile::read(void *reader, char *buffer, unsigned size)
{
    auto &own = *static_cast<Reader *>(reader);
    try {
        return static_cast<int>(own.source(buffer, size));
    } catch (const Failure &failure) {
        own.failure = failure;
    } catch (const std::bad_alloc &) {
        own.failure = Failure(QStringLiteral("メモリが足りません。"));
    }
    return -1;
}

void LocalFile::end(void *reader)
{
    delete static_cast<Reader *>(reader);
}

int LocalFile::fail(void *reader, char *words, unsigned size)
{
    constexpr int fileNotFound = 2; // as the library's own handler numbers it
    qstrncpy(words, static_cast<Reader *>(reader)->failure->description().toUtf8().constData(), size);
    return fileNotFound;
}
