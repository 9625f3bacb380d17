#pragma once

#include <QString>

#include <mysql.h>
#include <string>
#include <string_view>

// Lets a server read one file of this machine, once for each statement that names it, and nothing else: any
// server may answer any statement by asking for any file.
class LocalFile {
public:
    explicit LocalFile(const QString &path);

    // The handle does not outlive it.
    void serveOn(MYSQL *handle);
    // Of every statement, before it is sent.
    void expect(std::string_view statement);

private:
    struct Reader;
    static int begin(void **reader, const char *name, void *self);
    static int read(void *reader, char *buffer, unsigned size);
    static void end(void *reader);
    static int fail(void *reader, char *words, unsigned size);

    const std::string m_path, m_statement; // how the statement that asks for it begins
    bool m_isExpected = false;
};
