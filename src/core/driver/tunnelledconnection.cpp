#include "core/driver/sshtunnel.h"
#include "core/session/connectionstring.h"
#include "core/sql/batch.h"
#include "core/sql/localsource.h"

#include <utility>

namespace {

class TunnelledConnection : public Connection, public BatchSender, public LocalSender {
public:
    TunnelledConnection(QString string, WaitingFactory factory, Pump &pump, std::shared_ptr<Tunnels> tunnels)
        : m_given(std::move(string))
        , m_factory(std::move(factory))
        , m_pump(pump)
        , m_tunnels(std::move(tunnels))
    {
    }
    ~TunnelledConnection() override { TunnelledConnection::close(); }

    void open() override;
    void close() override;
    bool isOpen() const override { return m_inner && m_inner->isOpen(); }
    QString connectionString() const override;
    ServerInfo server() const override { return m_inner ? m_inner->server() : ServerInfo(); }
    Encryption encryption() const override { return m_inner ? m_inner->encryption() : Encryption(); }
    RecordSet execute(const QString &statement) override
    {
        return send([&statement](Connection &inner) { return inner.execute(statement); });
    }
    RecordSet executeText(const QByteArray &statement) override
    {
        return send([&statement](Connection &inner) { return inner.executeText(statement); });
    }
    BatchOutcome executeAll(const std::vector<QByteArray> &statements) override
    {
        BatchOutcome outcome;
        send([&](Connection &inner) {
            outcome = ::executeAll(inner, statements);
            return RecordSet();
        });
        return outcome;
    }
    RecordSet executeLocal(const QString &statement, const LocalSource &source) override
    {
        return send([&](Connection &inner) { return ::executeLocal(inner, statement, source); });
    }
    bool nextResult(RecordSet &result) override
    {
        const std::shared_ptr<Connection> inner = m_inner;
        return inner && inner->nextResult(result);
    }
    Effect effect() const override { return m_inner ? m_inner->effect() : Effect(); }
    bool isBusy() const override { return m_isOpening || (m_inner && m_inner->isBusy()); }
    void cancel() override;

private:
    RecordSet send(const std::function<RecordSet(Connection &inner)> &sendBy);

    const QString m_given;
    const WaitingFactory m_factory;
    Pump &m_pump;
    const std::shared_ptr<Tunnels> m_tunnels;
    std::shared_ptr<SshTunnel> m_tunnel;
    std::shared_ptr<Connection> m_inner; // an event may close it while a statement waits
    bool m_isOpening = false, m_isCancelled = false;
};

QString adviceOn(const QString &words)
{
    static const std::pair<const char *, QStringView> advices[] = {
        {"REMOTE HOST IDENTIFICATION HAS CHANGED",
         u"SSH のホストの鍵が前と違います。本物か確かめてから、known_hosts の古い鍵を消してください。"},
        {"Host key verification failed", u"SSH のホストの鍵が確かめられなかったので、つなぎませんでした。"},
        {"UNPROTECTED PRIVATE KEY",
         u"SSH の鍵のファイルをほかの人も読めます。本人だけが読めるようにしてください。"},
        {"Permission denied", u"SSH のユーザー名、鍵、パスワードを確かめてください。"},
        {"Could not resolve hostname", u"SSH のホストの名前が見つかりません。"},
        {"administratively prohibited", u"SSH のホストは転送を許していません。"},
        {"open failed",
         u"SSH のホストからデータベースのサーバーに届きません。サーバーとポートを確かめてください。"},
        {"Connection refused", u"SSH のホストが応答しません。ホストとポートを確かめてください。"},
        {"timed out", u"SSH のホストが応答しません。ホストとポートを確かめてください。"},
    };
    for (const auto &[part, text] : advices)
        if (words.contains(QLatin1String(part)))
            return text.toString();
    return {};
}

// What ssh said, behind the words of a failure that it may have caused.
Failure withSshWords(const Failure &failure, const SshTunnel &tunnel)
{
    QStringList lines{failure.description()};
    if (const QString words = tunnel.words(); !words.isEmpty())
        lines << QStringLiteral("SSH: ") + words << adviceOn(words);
    else if (!tunnel.isUp())
        lines << QStringLiteral("SSH トンネルは終わりました。");
    lines.removeAll(QString());
    return Failure(lines.join(u'\n'), failure.number(), failure.state());
}

QString through(const ConnectionString &string, int port)
{
    QStringList pieces;
    for (const ConnectionString::Piece &piece : string.pieces()) {
        if (piece.key.startsWith(u"ssh"))
            continue;
        const QString value = piece.key == u"server" ? QStringLiteral("127.0.0.1")
                              : piece.key == u"port" ? QString::number(port)
                                                     : piece.value;
        pieces << piece.key + u'=' + (piece.key == u"driver" ? u'{' + value + u'}' : connectionValue(value));
    }
    pieces << certificateHostKey() + u'=' + connectionValue(string.value(QStringLiteral("server")));
    return pieces.join(u';');
}

SshTunnel::Target targetOf(const ConnectionString &string)
{
    const auto value = [&](const char *key) { return string.value(QLatin1String(key)); };
    const QString port = value("port");
    return {{value("sshhost"), value("sshport"), value("sshuser"), value("sshkey")},
            value("server"),
            port.isEmpty() ? QStringLiteral("3306") : port};
}

void TunnelledConnection::open()
{
    const ConnectionString string(m_given);
    const SshTunnel::Target target = targetOf(string);
    if (const QString wrong = target.whatIsWrong(); !wrong.isEmpty())
        throw Failure(wrong);
    const std::shared_ptr<SshTunnel> tunnel = m_tunnel = m_tunnels->to(target);
    m_isOpening = true;
    m_pump.wait(tunnel->decided());
    m_isOpening = false;
    if (std::exchange(m_isCancelled, false))
        throw interruptedError(QStringLiteral("処理を中断しました。"));
    if (!tunnel->isUp())
        throw withSshWords(
            Failure(QStringLiteral("SSH トンネルを開けませんでした。"), 0, QStringLiteral("08001")), *tunnel);
    const std::shared_ptr<Connection> inner = m_factory(through(string, tunnel->port()), m_pump);
    m_inner = inner;
    try {
        inner->open();
    } catch (const Failure &failure) {
        if (failure.number() == 2026 && TlsOptions::of(string).mode == TlsMode::Verified)
            throw Failure(failure.description() +
                              QStringLiteral("\nSSH トンネルを通すときも、証明書は「サーバー」の名前 (%1) "
                                             "のものでなければなりません。")
                                  .arg(string.value(QStringLiteral("server"))),
                          failure.number(), failure.state());
        // ssh says on its own account why it could not go on from the other machine, a moment later.
        constexpr std::chrono::milliseconds moment{50};
        for (int i = 0; i < 6 && tunnel->words().isEmpty(); ++i)
            std::this_thread::sleep_for(moment);
        throw withSshWords(failure, *tunnel);
    }
}

void TunnelledConnection::close()
{
    if (m_isOpening && m_tunnel)
        m_tunnel->stop();
    if (m_inner)
        m_inner->close();
    m_tunnel.reset();
}

void TunnelledConnection::cancel()
{
    if (m_isOpening) {
        m_isCancelled = true;
        m_tunnel->stop();
    } else if (m_inner) {
        m_inner->cancel();
    }
}

// Never the name that stands for this machine: the server's files are the other machine's.
QString TunnelledConnection::connectionString() const
{
    const SshTunnel::Target target = targetOf(ConnectionString(m_given));
    return isOpen() ? withServer(m_given, target.host + QStringLiteral(" (SSH ") + target.way.host + u')')
                    : m_given;
}

RecordSet TunnelledConnection::send(const std::function<RecordSet(Connection &inner)> &sendBy)
{
    const std::shared_ptr<Connection> inner = m_inner;
    const std::shared_ptr<SshTunnel> tunnel = m_tunnel;
    if (!inner || !tunnel)
        throw Failure(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    try {
        return sendBy(*inner);
    } catch (const Failure &failure) {
        if (!failure.isConnectionLost() || tunnel->isUp())
            throw;
        throw withSshWords(failure, *tunnel);
    }
}

} // namespace

WaitingFactory tunnelled(WaitingFactory factory, const QString &askPassProgram)
{
    return [factory = std::move(factory), tunnels = std::make_shared<Tunnels>(askPassProgram)](
               const QString &string, Pump &pump) -> std::unique_ptr<Connection> {
        if (ConnectionString(string).value(QStringLiteral("sshhost")).isEmpty())
            return factory(string, pump);
        return std::make_unique<TunnelledConnection>(string, factory, pump, tunnels);
    };
}
