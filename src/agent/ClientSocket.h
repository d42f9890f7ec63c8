#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

namespace kelmo {

/// A connected TCP socket whose two directions end apart: unlike QTcpSocket it stays open when the client has only
/// finished sending, and it can finish sending itself while it still reads. Owned by one connection, on its thread.
class ClientSocket : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 Ended = -1;

    /// Takes over a connected socket and closes it in the end.
    ClientSocket(qintptr descriptor, QObject* parent);
    ~ClientSocket() override;

    /// How many bytes were read; 0 when there are none yet, Ended when the client sends no more or is gone.
    [[nodiscard]] qint64 read(char* data, qint64 size);
    /// Whether readyRead is signalled; at first it is.
    void setReading(bool reading);

    /// Sends when the client takes it. What goes out at once is not signalled.
    void write(const QByteArray& bytes);
    [[nodiscard]] qsizetype bytesToWrite() const { return m_unsent.size() - m_sent; }
    /// Tells the client that nothing more will come. Requires: nothing is left to write.
    void endSending();

    [[nodiscard]] bool isBroken() const { return m_broken; } ///< Writing has failed; the client is gone.

Q_SIGNALS:
    void readyRead(); ///< Bytes, the end or an error: read() tells.
    void bytesWritten(); ///< Some more went out, or the socket broke.

private:
    void sendSome();
    void flush();

    int m_descriptor;
    QSocketNotifier m_readable;
    QSocketNotifier m_writable;
    QByteArray m_unsent;
    qsizetype m_sent = 0;
    bool m_broken = false;
};

} // namespace kelmo
