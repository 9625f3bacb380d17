#pragma once

#include <QDialog>
#include <QDir>
#include <QTimer>

#include <functional>

// Works real windows by the object names of their controls and takes pictures of them. What cannot be done
// (no such control, a disabled button) ends the program with the reason, so that no picture shows less than
// it says.
class Photographer {
public:
    explicit Photographer(const QDir &folder);

    // The window that the following calls work on; outlives them.
    void lookAt(QWidget &window);

    void click(const QString &name);
    void enter(const QString &name, const QString &text);
    // Chooses the item that ends in this text from a list or combo box, as a click on it does.
    void choose(const QString &name, const QString &text);
    // Lets the windows work for so many milliseconds.
    void rest(int milliseconds);
    // Writes `file`.png.
    void take(const QString &file);

    // Clicks a button that opens a modal dialog; `visit` works on the dialog, which is closed afterwards.
    void visitDialog(const QString &button, const std::function<void()> &visit);

private:
    template <class Control>
    Control &find(const QString &name) const;

    void lookForDialog();

    QDir m_folder;
    QWidget *m_window = nullptr;
    QTimer m_watch;
    std::function<void()> m_visit; // for the dialog that is expected next
};

[[noreturn]] void giveUp(const QString &why);
