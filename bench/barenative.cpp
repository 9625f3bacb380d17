#include "bareloops.h"

#include <QByteArray>
#include <QElapsedTimer>

#include <cstdio>
#include <cstdlib>
#include <mysql.h>

namespace {

MYSQL *connectTo(int port, const QString &database)
{
    MYSQL *handle = mysql_init(nullptr);
    const unsigned protocol = MYSQL_PROTOCOL_TCP;
    mysql_optionsv(handle, MYSQL_OPT_PROTOCOL, &protocol);
    mysql_optionsv(handle, MYSQL_SET_CHARSET_NAME, "utf8mb4");
    if (!mysql_real_connect(handle, "127.0.0.1", "demo", "demo",
                            database.isEmpty() ? nullptr : qPrintable(database), static_cast<unsigned>(port),
                            nullptr, 0)) {
        std::fprintf(stderr, "%s\n", mysql_error(handle));
        std::exit(1);
    }
    return handle;
}

std::size_t readAll(MYSQL *handle, const QByteArray &statement, std::FILE *file = nullptr)
{
    std::size_t bytes = 0;
    const bool isRefused =
        mysql_real_query(handle, statement.constData(), static_cast<unsigned long>(statement.size())) != 0;
    MYSQL_RES *rows = isRefused ? nullptr : mysql_use_result(handle);
    if (!rows && !isRefused && mysql_field_count(handle) == 0)
        return 0; // a statement without rows
    if (!rows) {
        std::fprintf(stderr, "%s\n", mysql_error(handle));
        std::exit(1);
    }
    const unsigned columns = mysql_num_fields(rows);
    while (const MYSQL_ROW row = mysql_fetch_row(rows)) {
        const unsigned long *lengths = mysql_fetch_lengths(rows);
        for (unsigned i = 0; i < columns; ++i)
            bytes += row[i] ? lengths[i] : 1;
        if (!file)
            continue;
        for (unsigned i = 0; i < columns; ++i)
            writeValue(file, row[i], lengths[i], i + 1 == columns);
    }
    mysql_free_result(rows);
    return bytes;
}

} // namespace

void writeValue(std::FILE *file, const char *bytes, std::size_t length, bool isLast)
{
    std::fwrite(bytes ? bytes : "NULL", 1, bytes ? length : 4, file);
    if (isLast)
        std::fwrite("\r\n", 1, 2, file);
    else
        std::putc('\t', file);
}

std::size_t BareNative::readRows(int port, const QString &database, const QString &statement, std::FILE *file)
{
    MYSQL *handle = connectTo(port, database);
    const std::size_t bytes = readAll(handle, statement.toUtf8(), file);
    mysql_close(handle);
    return bytes;
}

std::size_t BareNative::repeatSmall(int port, const QString &statement, int times)
{
    MYSQL *handle = connectTo(port, {});
    const QByteArray text = statement.toUtf8();
    std::size_t bytes = 0;
    for (int i = 0; i < times; ++i)
        bytes += readAll(handle, text);
    mysql_close(handle);
    return bytes;
}

double BareNative::secondsFor(int port, const QStringList &statements)
{
    MYSQL *handle = connectTo(port, {});
    QElapsedTimer clock;
    clock.start();
    for (const QString &statement : statements)
        readAll(handle, statement.toUtf8());
    const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    mysql_close(handle);
    return seconds;
}
