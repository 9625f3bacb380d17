#pragma once

#include "core/sql/connection.h"

#include <QLabel>

// A word about what protects the connection; its tip says how. Empty while there is none.
class EncryptionSign : public QLabel {
public:
    EncryptionSign() { setAccessibleName(QStringLiteral("接続の暗号化")); }

    void showOf(const Connection *connection);
};
