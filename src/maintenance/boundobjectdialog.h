#pragma once

#include "maintenance/boundobject.h"

class QWidget;

// Shows the text of a trigger or event for editing, or the beginnings of a new one, until it is made or
// changed, or cancelled. True: the server's has changed.
bool editBoundObject(QWidget *parent, Session &session, const BoundObject &object, const QString &text);
