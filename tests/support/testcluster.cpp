#include "support/testcluster.h"

#include "support/files.h"
#include "support/serverprograms.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLockFile>

#include <unistd.h>

namespace {

QString provider()
{
    for (const QString &folder : {qEnvironmentVariable("TARNWELL_GALERA"), QString("/usr/lib/galera")})
        if (QFile::exists(folder + "/libgalera_smm.so"))
            return folder + "/libgalera_smm.so";
    return {};
}

QStringList clusterOptions(const QString &address, const QString &more)
{
    const int groupPort = freePort();
    return {"--binlog-format=ROW",
            "--innodb-autoinc-lock-mode=2",
            "--wsrep-on=ON",
            "--wsrep-provider=" + provider(),
            "--wsrep-cluster-address=gcomm://" + address,
            "--wsrep-cluster-name=tarnwell",
            QStringLiteral("--wsrep-node-address=127.0.0.1:%1").arg(groupPort),
            "--wsrep-sst-method=position",
            QStringLiteral("--wsrep-provider-options=base_port=%1;gmcast.listen_addr=tcp://127.0.0.1:%1;"
                           "ist.recv_addr=127.0.0.1:%2;gcache.size=8M%3")
                .arg(groupPort)
                .arg(freePort())
                .arg(more)};
}

// A data folder that knows its position in a cluster's history: nodes that begin with copies of it need no
// more than what came after, which needs no program to copy whole servers.
QString clusterTemplate()
{
    const QString folder = QDir::tempPath() + QStringLiteral("/tarnwell-test-data-galera-%1").arg(getuid());
    const QString installed = templateFolder(TestServer::Brand::MariaDb);
    QLockFile lock(folder + ".lock");
    lock.setStaleLockTime(120000);
    lock.lock();
    if (QFile::exists(folder + "/grastate.dat") && QFile::exists(folder + "/complete"))
        return folder;
    QDir(folder).removeRecursively();
    runToEnd(program("cp"), {"-r", installed, folder});
    QFile::remove(folder + "/complete");
    QTemporaryDir work;
    writeFile(work.filePath("init.sql"), "SHUTDOWN;\n");
    runToEnd(program("mariadbd"),
             QStringList{"--no-defaults", "--datadir=" + folder, "--tmpdir=" + work.path(),
                         "--socket=" + work.filePath("s"), "--pid-file=" + work.filePath("pid"),
                         "--skip-networking", "--innodb-log-file-size=8M",
                         "--init-file=" + work.filePath("init.sql"),
                         "--user=" + qEnvironmentVariable("USER", "root")} +
                 clusterOptions({}, {}));
    QFile::remove(folder + "/galera.cache");
    writeFile(folder + "/complete", {});
    return folder;
}

// Run by both ends of a state transfer. Only the position travels; what the joining node has missed since
// comes from the other's cache.
const char *positionProgram = R"(#!/bin/sh
while [ $# -gt 0 ]; do
    case $1 in
    --role) role=$2 ;;
    --address) address=$2 ;;
    --gtid) position=$2 ;;
    --datadir) folder=${2%/} ;;
    --bypass) isEnough=yes ;;
    esac
    shift
done
if [ "$role" = joiner ]; then
    rm -f "$folder/position"
    echo "ready $folder/position"
    tries=0
    while [ ! -s "$folder/position" ] && [ $tries -lt 600 ]; do
        sleep 0.05
        tries=$((tries + 1))
    done
    cat "$folder/position"
else
    [ "$isEnough" = yes ] || exit 1
    echo "$position" >"$address.new" && mv "$address.new" "$address"
    echo "done $position"
fi
)";

} // namespace

QByteArray TestCluster::whyMissing()
{
    return provider().isEmpty() ? "no Galera here (./test fetches it and sets TARNWELL_GALERA)"
                                : QByteArray();
}

TestCluster::TestCluster()
{
    const QString ready = clusterTemplate();
    const QString script = m_folder.filePath("wsrep_sst_position");
    writeFile(script, positionProgram);
    QFile::setPermissions(script, QFile::permissions(script) | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", m_folder.path().toUtf8() + ':' + path);
    QString first;
    // One after the other: a node that joins while another one does waits for seconds.
    for (int i = 0; i < size; ++i) {
        const QStringList options =
            clusterOptions(first, ";gmcast.peer_timeout=PT3S;evs.keepalive_period=PT0.5S;"
                                  "evs.inactive_check_period=PT0.5S;evs.suspect_timeout=PT2S;"
                                  "evs.inactive_timeout=PT4S;evs.install_timeout=PT4S");
        if (i == 0)
            first = options[6].section('=', 1);
        m_nodes[static_cast<std::size_t>(i)] =
            std::make_unique<TestServer>(options, TestServer::Brand::MariaDb, ready);
        waitUntilReady(i);
    }
    qputenv("PATH", path);
}

std::vector<int> TestCluster::ports() const
{
    std::vector<int> result;
    for (const auto &node : m_nodes)
        result.push_back(node->port());
    return result;
}

QString TestCluster::run(const QString &statements, const QString &database, int index)
{
    return node(index).run("set session wsrep_sync_wait=15;" + statements, database);
}

void TestCluster::setReady(int index, bool isReady)
{
    node(index).run(QStringLiteral("set global wsrep_reject_queries=%1").arg(isReady ? "NONE" : "ALL"));
}

void TestCluster::waitUntilReady(int index)
{
    QElapsedTimer clock;
    clock.start();
    while (node(index).run("show status like 'wsrep_ready'") != u"wsrep_ready\tON\n") {
        if (clock.elapsed() > 60000)
            give_up(QStringLiteral("node %1 does not join the cluster").arg(index));
        QTest::qSleep(50);
    }
}
