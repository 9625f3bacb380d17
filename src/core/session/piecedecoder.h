#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

// Makes UTF-8 of a file that is read in pieces: a character may end in another one than it begins in.
class PieceDecoder {
public:
    enum class Encoding { Cp932, EucJp, Utf16 };

    explicit PieceDecoder(Encoding encoding);

    QByteArray take(const QByteArray &piece);
    // Something so far has no character.
    bool hasError() const { return m_decoder.hasError(); }
    // After the last piece: the file ends within a character.
    bool endsWithin();

private:
    const Encoding m_encoding;
    QStringDecoder m_decoder;
    QString m_half; // of a pair
    bool m_isOdd = false;
};
