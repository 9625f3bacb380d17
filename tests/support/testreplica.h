#pragma once

#include "support/testserver.h"

#include <QTest>

// A server and its replica, which is read-only and applies what is changed there.
struct TestReplica {
    TestServer source{{"--log-bin", "--server-id=1"}};
    TestServer replica{{"--server-id=2", "--read-only"}};

    TestReplica()
    {
        replica.run(QStringLiteral("change master to master_host='127.0.0.1', master_port=%1, "
                                   "master_user='demo', master_password='demo'; start slave")
                        .arg(source.port()));
    }
    QString sourceName() const { return QStringLiteral("127.0.0.1:%1").arg(source.port()); }
    // Until the replica has applied everything.
    void catchUp()
    {
        const QString place = source.run("show master status");
        const QString wait = QStringLiteral("select master_pos_wait('%1', %2, 30)")
                                 .arg(place.section('\t', 0, 0), place.section('\t', 1, 1));
        QVERIFY2(!replica.run(wait).startsWith("-1"), "the replica stays behind");
    }
};
