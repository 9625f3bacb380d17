// The only code that knows the library of the desktop's key stores; see KeyStore, which loads it.
#include <QEventLoop>
#include <QTimer>
#include <qt6keychain/keychain.h>

#include <memory>
#include <string_view>

namespace {

const QString serviceName = QStringLiteral("Tarnwell");

// Runs the job, with the user unlocking the store if need be; false: it did not end.
bool finish(QKeychain::Job &job)
{
    constexpr int patience = 120'000; // milliseconds; a service that hangs must not hold the program
    job.setAutoDelete(false);
    job.setInsecureFallback(false);
    QEventLoop loop;
    QObject::connect(&job, &QKeychain::Job::finished, &loop, [&loop] { loop.exit(1); });
    QTimer::singleShot(patience, &loop, [&loop] { loop.exit(0); });
    job.start();
    return loop.exec() == 1;
}

std::unique_ptr<QKeychain::Job> jobFor(std::string_view action, const QString &password)
{
    if (action == "read")
        return std::make_unique<QKeychain::ReadPasswordJob>(serviceName);
    if (action == "remove")
        return std::make_unique<QKeychain::DeletePasswordJob>(serviceName);
    auto job = std::make_unique<QKeychain::WritePasswordJob>(serviceName);
    job->setTextData(password);
    return job;
}

} // namespace

extern "C" Q_DECL_EXPORT bool tarnwellKeyStore(const char *action, const QString &id, QString &password,
                                               QString &why)
{
    auto job = jobFor(action, password);
    job->setKey(id);
    if (!finish(*job)) {
        job.release()->setAutoDelete(true); // the service may answer it yet
        why = QStringLiteral("キーストアが応答しません。");
        return false;
    }
    if (job->error() == QKeychain::EntryNotFound)
        return false;
    if (job->error() != QKeychain::NoError)
        why = job->errorString();
    else if (const auto *read = dynamic_cast<QKeychain::ReadPasswordJob *>(job.get()))
        password = read->textData();
    return job->error() == QKeychain::NoError;
}
