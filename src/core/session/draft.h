#pragma once

#include <QJsonObject>
#include <QLockFile>
#include <QString>

#include <memory>
#include <vector>

// What is being written and was not saved yet, in a file of its own in a folder of drafts, for its owner
// alone: nothing of it is lost with the program. As long as it lives no other program opens it.
class Draft {
public:
    // A new one.
    explicit Draft(const QString &folder);
    ~Draft();
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    // The system's own words where it failed; what was saved before stands still then.
    QString save(const QJsonObject &contents);
    // Its user is done with it.
    void remove();
    const QJsonObject &contents() const { return m_contents; } // as it was found

    // Those of earlier starts that no program has open, in the order in which they were made.
    static std::vector<std::unique_ptr<Draft>> left(const QString &folder);

private:
    explicit Draft(QString path, std::unique_ptr<QLockFile> lock);
    bool read();

    QString m_path;
    std::unique_ptr<QLockFile> m_lock;
    QJsonObject m_contents;
};
