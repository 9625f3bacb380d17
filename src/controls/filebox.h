#pragma once

#include <QListWidget>

// The files of one folder that match a pattern, without regard to case; several may be selected.
class FileBox : public QListWidget {
    Q_OBJECT

public:
    explicit FileBox(QWidget *parent = nullptr);

    void setPattern(const QString &pattern); // "*.frm"
    void setPath(const QString &path);
    QString path() const { return m_path; }
    QStringList selectedFiles() const; // names without the folder, in list order

private:
    void list();

    QString m_path;
    QString m_pattern = QStringLiteral("*");
};
