#include "sheets/sheetthread.h"

#include <QCoreApplication>

namespace {

// Ends by itself, or with the program.
class Ending : public QObject {
public:
    Ending(std::unique_ptr<SheetWorker> worker, std::unique_ptr<QThread> thread)
        : QObject(QCoreApplication::instance())
        , m_worker(std::move(worker))
        , m_thread(std::move(thread))
    {
        connect(m_thread.get(), &QThread::finished, this, &QObject::deleteLater);
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &Ending::wait);
        QMetaObject::invokeMethod(m_worker.get(), [ending = m_worker.get()] {
            ending->close();
            QThread::currentThread()->quit();
        });
    }
    ~Ending() override { wait(); }

private:
    void wait()
    {
        constexpr unsigned long longest = 10'000; // milliseconds; stops that are not heard end before
        if (m_thread && !m_thread->wait(longest)) {
            // Left behind with what it uses.
            static_cast<void>(m_thread.release());
            static_cast<void>(m_worker.release());
        }
    }

    std::unique_ptr<SheetWorker> m_worker;
    std::unique_ptr<QThread> m_thread;
};

} // namespace

SheetThread::SheetThread(const Session &session, const QString &database)
    : m_worker(std::make_unique<SheetWorker>())
    , m_thread(std::make_unique<QThread>())
{
    std::unique_ptr<Session> own = siblingOf(session, database, m_worker->pump());
    own->runner.moveToThread(m_thread.get());
    m_worker->use(std::move(own));
    m_worker->moveToThread(m_thread.get());
    m_thread->setObjectName(QStringLiteral("sheet"));
    m_thread->start();
}

SheetThread::~SheetThread()
{
    QObject::disconnect(m_worker.get(), nullptr, nullptr, nullptr);
    m_worker->stop();
    new Ending(std::move(m_worker), std::move(m_thread));
}
