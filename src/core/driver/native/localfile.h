#pragma once

#include "core/sql/localsource.h"

#include <mysql.h>
#include <optional>
#include <string>

// Lets a server read what one statement offers, once and under one name, and no file of this machine: any
// server may answer any statement by asking for any file.
class LocalFile {
public:
    explicit LocalFile(const QString &name);

    // The handle does not outlive it.
    void serveOn(MYSQL *handle);
    // For the statement that is sent next.
    void offer(const LocalSource &source);
    void withdraw() { m_source = nullptr; }
    // Throws what the source has thrown since it was offered.
    void requireNoFailure() const;

private:
    static int begin(void **reader, const char *name, void *self);
    static int read(void *reader, char *buffer, unsigned size);
    static void end(void *reader);
    static int fail(void *reader, char *words, unsigned size);

    const std::string m_name;
    LocalSource m_source; // empty: nothing is offered, or it is being read
    std::optional<Failure> m_failure;
};
