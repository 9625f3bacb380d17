#pragma once

#include "support/testserver.h"

// What the private servers of the tests are made of. Each ends the test program where it fails.

[[noreturn]] void give_up(const QString &why);
QString program(const QString &name);
QString runToEnd(const QString &path, const QStringList &arguments, const QByteArray &input = {});
// A data folder as the server's installer makes it, made once and copied for every server.
QString templateFolder(TestServer::Brand brand);
int freePort();
