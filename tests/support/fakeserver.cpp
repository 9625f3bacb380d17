#include "support/fakeserver.h"

#include "support/loopback.h"

namespace {

const QByteArray scramble("abcdefghijklmnopqrst");

// The public half of a key that nobody keeps.
const QByteArray publicKey("-----BEGIN PUBLIC KEY-----\n"
                           "MIIBIjANBgkqhkiG9w0BAQEFAAOCAQ8AMIIBCgKCAQEAop9nO32FRAgYIsz3TWFc\n"
                           "MHzo5goT8ZtvpDFeGEBQz4N6eewcQhvLP/2hW4Nor4r5bx8WlIi0eyK63qeNOb2x\n"
                           "7B+sZkwqXnLxbnRGBHZaHP97bnqIJX6GRSaIdz1TZXoG0dybQ8Mae3Vglv74YwEG\n"
                           "Ovn9hm77bvXhqAbaRgg0zlCarxhB0RsHFJjdWhUZ1B3qc4klKqjsq9fRNHcLvrqf\n"
                           "CNLEKWrSVxpccxy5zupmtoj+CPsFVH2767F07tZ+I33jzYmBbki2HKoMBb6Kbchk\n"
                           "yiGJKKhnDxh0bQmSsWnb3Q5Ki2kYDzk49m9SbAbPej8ZSdLNzhB4b8wCLGZwtDl1\n"
                           "1QIDAQAB\n"
                           "-----END PUBLIC KEY-----\n");

QByteArray number(quint64 value, int bytes)
{
    QByteArray text;
    for (; bytes > 0; --bytes, value >>= 8)
        text += static_cast<char>(value);
    return text;
}

QByteArray withLength(const QByteArray &text)
{
    const auto size = static_cast<quint64>(text.size());
    return (size < 251     ? number(size, 1)
            : size < 65536 ? '\xfc' + number(size, 2)
                           : '\xfd' + number(size, 3)) +
           text;
}

const QByteArray okay = QByteArray::fromHex("00000002000000");
const QByteArray endOfRows = QByteArray::fromHex("fe00000200");

QByteArray failure(const QByteArray &text)
{
    return QByteArray("\xff\x15\x04#HY000", 9) + text;
}

QByteArray definition(const QByteArray &column)
{
    // VARCHAR in utf8mb4.
    return withLength("def") + withLength("") + withLength("t") + withLength("t") + withLength(column) +
           withLength(column) + '\x0c' + number(45, 2) + number(1024, 4) + '\xfd' + number(0, 5);
}

} // namespace

// One connection, on a thread of its own.
class FakeServer::Client {
public:
    Client(FakeServer &server, int number, int socket)
        : m_server(server)
        , m_number(number)
        , m_socket(socket)
    {
    }
    ~Client() { close(m_socket); }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    void serve()
    {
        if (!m_server.m_login.isSilent && login())
            while (!m_isGone)
                command(receive());
        stayOpen();
    }

private:
    bool login();
    void command(const QByteArray &packet);
    void sendRows(const Answer &answer, bool isPrepared);
    void sendDefinitions(const Answer &answer)
    {
        for (const QByteArray &column : answer.columns)
            send(definition(column));
        send(endOfRows);
    }
    bool waits(short event)
    {
        pollfd wait{m_socket, event, 0};
        while (!m_server.m_ends)
            if (poll(&wait, 1, 5) > 0)
                return true;
        m_isGone = true;
        return false;
    }
    void stayOpen()
    {
        while (!receive().isEmpty()) {
        }
    }
    // Empty once the client has gone.
    QByteArray receive()
    {
        char bytes[65536];
        while (m_unread.size() < 4 || m_unread.size() < 4 + sizeOf(m_unread)) {
            const ssize_t count = !m_isGone && waits(POLLIN) ? read(m_socket, bytes, sizeof bytes) : 0;
            if (count <= 0) {
                m_isGone = true;
                return {};
            }
            m_server.note({bytes, count});
            m_unread.append(bytes, count);
        }
        const QByteArray packet = m_unread.mid(4, sizeOf(m_unread));
        m_sequence = m_unread[3] + 1;
        m_unread.remove(0, 4 + packet.size());
        return packet.isEmpty() ? QByteArray(1, '\0') : packet;
    }
    static qsizetype sizeOf(const QByteArray &bytes)
    {
        const auto byte = [&bytes](int i) { return static_cast<unsigned char>(bytes[i]); };
        return byte(0) + byte(1) * 256 + byte(2) * 65536;
    }
    void send(const QByteArray &packet)
    {
        QByteArray bytes =
            number(static_cast<quint64>(packet.size()), 3) + static_cast<char>(m_sequence++) + packet;
        while (!bytes.isEmpty() && !m_isGone && waits(POLLOUT)) {
            const ssize_t count = ::send(m_socket, bytes.constData(), static_cast<std::size_t>(bytes.size()),
                                         MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count < 0)
                m_isGone = true;
            else
                bytes.remove(0, count);
        }
    }

    FakeServer &m_server;
    const int m_number;
    const int m_socket;
    QByteArray m_unread;
    int m_sequence = 0;
    bool m_isGone = false;
    std::vector<const Answer *> m_prepared;
};

bool FakeServer::Client::login()
{
    const Login &login = m_server.m_login;
    constexpr quint64 offersTls = 0x800, others = 0x000fa28f;
    const quint64 abilities = others | (login.offersTls ? offersTls : 0);
    send('\x0a' + QByteArray("8.0.99") + '\0' + number(7, 4) + scramble.left(8) + '\0' +
         number(abilities & 0xffff, 2) + '\x2d' + number(2, 2) + number(abilities >> 16, 2) + '\x15' +
         number(0, 10) + scramble.mid(8) + '\0' + login.plugin + '\0');
    receive();
    if (login.offersTls)
        return false;
    if (login.wantsOldHash)
        send("\xfe");
    else if (!login.otherPlugin.isEmpty())
        send('\xfe' + login.otherPlugin + '\0' + scramble + '\0');
    if (login.wantsOldHash || !login.otherPlugin.isEmpty())
        receive();
    if (login.knowsNoHash) {
        send("\x01\x04");
        if (receive() == "\x02") {
            send('\x01' + publicKey);
            receive();
        }
    }
    send(okay);
    return !m_isGone;
}

void FakeServer::Client::command(const QByteArray &packet)
{
    enum : char { Quit = 1, Query = 3, Prepare = 0x16, Execute = 0x17, Close = 0x19 };
    const char kind = packet.isEmpty() ? char(Quit) : packet[0];
    if (kind == Quit) {
        m_isGone = true;
    } else if (kind == Query) {
        const Answer &answer = m_server.answerTo(QByteArrayView(packet).sliced(1), m_number);
        if (!answer.wantedFile.isEmpty()) {
            send('\xfb' + answer.wantedFile);
            while (receive().size() > 1) {
            }
        }
        sendRows(answer, false);
    } else if (kind == Prepare) {
        m_prepared.push_back(&m_server.answerTo(QByteArrayView(packet).sliced(1), m_number));
        const Answer &answer = *m_prepared.back();
        send('\0' + number(m_prepared.size(), 4) + number(answer.columns.size(), 2) + number(0, 5));
        if (!answer.columns.empty())
            sendDefinitions(answer);
    } else if (kind == Execute) {
        const Answer &answer = *m_prepared.at(static_cast<unsigned char>(packet[1]) - 1U);
        sendRows(answer, true);
    } else if (kind != Close) {
        send(okay);
    }
}

void FakeServer::Client::sendRows(const Answer &answer, bool isPrepared)
{
    if (const std::size_t count = answer.columns.size(); count > 0) {
        send(count < 251 ? number(count, 1) : '\xfc' + number(count, 2));
        sendDefinitions(answer);
    }
    do {
        for (const std::vector<QByteArray> &cells : answer.rows) {
            QByteArray row;
            if (isPrepared) // no cell is NULL
                row = '\0' + QByteArray(static_cast<qsizetype>((cells.size() + 9) / 8), '\0');
            for (const QByteArray &cell : cells)
                row += withLength(cell);
            send(row);
        }
        if (answer.endsNever && answer.rows.empty())
            return stayOpen();
    } while (answer.endsNever && !m_isGone);
    if (!answer.error.isEmpty())
        send(failure(answer.error));
    else
        send(answer.columns.empty() ? okay : endOfRows);
}

FakeServer::FakeServer(Login login)
    : m_login(std::move(login))
    , m_listener(listenOnLoopback(m_port))
{
    answer("select connection_id()", {{"a", "b", "c"}, {{"7", "8.0.99", "utf8mb4"}}});
    m_thread = std::thread([this] { serve(); });
}

FakeServer::~FakeServer()
{
    m_ends = true;
    m_thread.join();
    for (std::thread &client : m_clients)
        client.join();
    close(m_listener);
}

void FakeServer::serve()
{
    pollfd wait{m_listener, POLLIN, 0};
    while (!m_ends)
        if (poll(&wait, 1, 5) > 0)
            m_clients.emplace_back(
                [this, number = static_cast<int>(m_clients.size()),
                 socket = accept(m_listener, nullptr, nullptr)] { Client(*this, number, socket).serve(); });
}

const FakeServer::Answer &FakeServer::answerTo(QByteArrayView statement, int client) const
{
    static const Answer none;
    for (auto each = m_answers.rbegin(); each != m_answers.rend(); ++each)
        if (client >= each->second.firstClient && statement.toByteArray().toLower().startsWith(each->first))
            return each->second;
    return none;
}
