#pragma once

#include <QComboBox>
#include <QListWidget>

// The places where folders begin: roots, mounted volumes, the home folder.
class DriveBox : public QComboBox {
    Q_OBJECT

public:
    explicit DriveBox(QWidget *parent = nullptr);

    QString drive() const { return currentData().toString(); }
    // Shows the place that a path belongs to, without a signal.
    void showDriveOf(const QString &path);

Q_SIGNALS:
    void driveChosen(const QString &path); // by the user
};

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
