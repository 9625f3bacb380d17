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
    // What a folder without such files says.
    void setPlaceholderText(const QString &text) { m_placeholder = text; }
    QStringList selectedFiles() const; // names without the folder, in list order

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void list();

    QString m_path;
    QString m_placeholder;
    QString m_pattern = QStringLiteral("*");
};
