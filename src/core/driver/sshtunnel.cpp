#include "core/driver/sshtunnel.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStandardPaths>

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/prctl.h>
#endif

namespace {

const QByteArray readySign = "tarnwell-tunnel-is-open";

// A host that cannot be taken for an option, nor end its part of a forwarding.
bool isHost(const QString &text)
{
    static const QRegularExpression host(QStringLiteral("^[A-Za-z0-9_.:%][A-Za-z0-9_.:%-]*$"));
    return host.match(text).hasMatch();
}

QString bracketed(const QString &host)
{
    return host.contains(u':') ? u'[' + host + u']' : host;
}

// What the user's own settings for ssh must not change; everything else in them holds.
QStringList arguments(const SshTunnel::Target &target, int port)
{
    QStringList list{QStringLiteral("-N"), QStringLiteral("-T"), QStringLiteral("-x"), QStringLiteral("-a")};
    for (const char *option :
         {"BatchMode=no", "StrictHostKeyChecking=ask", "ExitOnForwardFailure=yes", "GatewayPorts=no",
          "ControlMaster=no", "ControlPath=none", "ForkAfterAuthentication=no", "ConnectTimeout=20",
          "ServerAliveInterval=15", "ServerAliveCountMax=3", "PermitLocalCommand=yes"})
        list << QStringLiteral("-o") << QLatin1String(option);
    // ssh runs it when it listens: no other sign of that can be read.
    list << QStringLiteral("-o") << QStringLiteral("LocalCommand=echo ") + QLatin1String(readySign);
    list << QStringLiteral("-L")
         << QStringLiteral("127.0.0.1:%1:%2:%3").arg(port).arg(bracketed(target.host), target.port);
    const SshOptions &way = target.way;
    if (!way.port.isEmpty())
        list << QStringLiteral("-p") << way.port;
    if (!way.user.isEmpty())
        list << QStringLiteral("-l") << way.user;
    if (!way.keyFile.isEmpty())
        list << QStringLiteral("-i") << QDir::fromNativeSeparators(way.keyFile);
    return list << QStringLiteral("--") << way.host;
}

QProcessEnvironment environment(const QString &askPassProgram)
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert(QStringLiteral("SSH_ASKPASS"), askPassProgram);
    variables.insert(QStringLiteral("SSH_ASKPASS_REQUIRE"), QStringLiteral("force"));
    variables.insert(QStringLiteral("TARNWELL_ASKPASS"), QStringLiteral("1"));
    // OpenSSH before 8.4 asks a program only where a display is named.
    if (!variables.contains(QStringLiteral("DISPLAY")))
        variables.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
    return variables;
}

void endWithThisProgram(QProcess &process)
{
#ifdef Q_OS_LINUX
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
#else
    Q_UNUSED(process)
#endif
}

} // namespace

QString SshTunnel::Target::whatIsWrong() const
{
    static const QRegularExpression digits(QStringLiteral("^[0-9]{1,5}$"));
    if (!isHost(way.host) || !isHost(host))
        return QStringLiteral("SSH トンネルのホスト名が正しくありません: %1")
            .arg(isHost(host) ? way.host : host);
    if (!digits.match(port).hasMatch() || (!way.port.isEmpty() && !digits.match(way.port).hasMatch()))
        return QStringLiteral("SSH トンネルのポートは数字で書いてください。");
    if (QStandardPaths::findExecutable(QStringLiteral("ssh")).isEmpty())
        return QStringLiteral("ssh がありません。SSH トンネルには OpenSSH のクライアントが要ります。");
    return {};
}

SshTunnel::SshTunnel(const Target &target, const QString &askPassProgram)
    : m_target(target)
    , m_askPassProgram(askPassProgram)
    , m_thread([this] { run(); })
{
}

SshTunnel::~SshTunnel()
{
    m_isLeft = true;
    m_thread.join();
}

QString SshTunnel::words() const
{
    const std::lock_guard lock(m_mutex);
    return QString::fromUtf8(m_words).trimmed();
}

void SshTunnel::note(const QByteArray &words)
{
    constexpr qsizetype most = 4000;
    const std::lock_guard lock(m_mutex);
    m_words = (m_words + words).right(most);
}

// A port that nobody listens on cannot be asked for; ssh itself finds out whether it is free.
void SshTunnel::run()
{
    constexpr int attempts = 8, lowest = 20000, highest = 60000;
    for (int attempt = 0; attempt < attempts && !m_isLeft; ++attempt) {
        const bool isTaken = tryPort(QRandomGenerator::global()->bounded(lowest, highest));
        if (!isTaken)
            break;
    }
    m_isUp = false;
    m_decided.finish();
}

// Until ssh ends; true when it could not have the port.
bool SshTunnel::tryPort(int port)
{
    constexpr int turn = 100, patience = 2000; // milliseconds
    QProcess ssh;
    ssh.setProcessEnvironment(environment(m_askPassProgram));
    ssh.setStandardInputFile(QProcess::nullDevice());
    endWithThisProgram(ssh);
    ssh.start(QStringLiteral("ssh"), arguments(m_target, port));
    if (!ssh.waitForStarted()) {
        note(ssh.errorString().toUtf8());
        return false;
    }
    QByteArray output, said;
    while (!m_isLeft && !ssh.waitForFinished(turn)) {
        output += ssh.readAllStandardOutput();
        const QByteArray words = ssh.readAllStandardError();
        said += words;
        note(words);
        if (!m_isUp && output.contains(readySign)) {
            m_port = port;
            m_isUp = true;
            m_decided.finish();
        }
    }
    if (ssh.state() != QProcess::NotRunning) {
        ssh.terminate();
        if (!ssh.waitForFinished(patience)) {
            ssh.kill();
            ssh.waitForFinished(patience);
        }
    }
    const QByteArray words = ssh.readAllStandardError();
    note(words);
    return !m_isUp && !m_isLeft && (said + words).contains("Address already in use");
}

std::shared_ptr<SshTunnel> Tunnels::to(const SshTunnel::Target &target)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_tunnels, [](const auto &each) { return each.expired(); });
    for (const auto &each : m_tunnels)
        if (const auto tunnel = each.lock();
            tunnel && tunnel->target() == target && (tunnel->isUp() || !tunnel->decided().isFinished()))
            return tunnel;
    const auto tunnel = std::make_shared<SshTunnel>(target, m_askPassProgram);
    m_tunnels.push_back(tunnel);
    return tunnel;
}
