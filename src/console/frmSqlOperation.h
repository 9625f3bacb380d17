#pragma once

#include "console/frmSql.h"

// Something on the stack uses the window while events run: the window must not go away beneath it.
class frmSql::Operation {
public:
    explicit Operation(frmSql &window)
        : m_window(window)
    {
        ++m_window.m_operations;
    }
    ~Operation()
    {
        if (--m_window.m_operations == 0 && m_window.m_closesWhenIdle)
            QMetaObject::invokeMethod(&m_window, &QWidget::close, Qt::QueuedConnection);
    }
    Operation(const Operation &) = delete;
    Operation &operator=(const Operation &) = delete;

private:
    frmSql &m_window;
};
