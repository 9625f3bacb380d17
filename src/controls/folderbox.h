#pragma once

#include <QListWidget>

// The subfolders of one folder, ".." on top: a double click or Enter goes into one, Backspace goes up.
class FolderBox : public QListWidget {
    Q_OBJECT

public:
    explicit FolderBox(QWidget *parent = nullptr);

    QString path() const { return m_path; } // absolute; empty until set
    // A folder that cannot be read is refused: false, and nothing changes.
    bool setPath(const QString &path);

Q_SIGNALS:
    void pathChanged(const QString &path);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void enter(const QListWidgetItem *item);
    void goUp();

    QString m_path;
};
