#include "controls/window/encryptionsign.h"

void EncryptionSign::showOf(const Connection *connection)
{
    QString text, tip;
    if (connection && connection->isOpen()) {
        const Encryption encryption = connection->encryption();
        if (!encryption.isEncrypted) {
            text = QStringLiteral("暗号化なし");
            tip = QStringLiteral("サーバーとのやりとりは暗号化されていません");
        } else {
            text = encryption.isVerified ? QStringLiteral("暗号化・検証済み") : QStringLiteral("暗号化");
            tip = encryption.version + u' ' + encryption.cipher + u'\n' +
                  (encryption.isVerified ? QStringLiteral("サーバーの証明書を確かめました")
                                         : QStringLiteral("サーバーの証明書は確かめていません"));
        }
    }
    setText(text);
    setToolTip(tip);
    setAccessibleDescription(tip);
}
