#include "agent/ClientSocket.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelmo {

namespace {

bool mayWorkLater() { return errno == EAGAIN || errno == EWOULDBLOCK; }

} // namespace

ClientSocket::ClientSocket(qintptr descriptor, QObject* parent)
    : QObject(parent)
    , m_descriptor(static_cast<int>(descriptor))
    , m_readable(descriptor, QSocketNotifier::Read)
    , m_writable(descriptor, QSocketNotifier::Write)
{
    ::fcntl(m_descriptor, F_SETFL, ::fcntl(m_descriptor, F_GETFL) | O_NONBLOCK);
    m_writable.setEnabled(false);
    connect(&m_readable, &QSocketNotifier::activated, this, &ClientSocket::readyRead);
    connect(&m_writable, &QSocketNotifier::activated, this, &ClientSocket::flush);
}

ClientSocket::~ClientSocket()
{
    // Notifiers must be off before the number of the socket can mean another one.
    m_readable.setEnabled(false);
    m_writable.setEnabled(false);
    ::close(m_descriptor);
}

qint64 ClientSocket::read(char* data, qint64 size)
{
    for (;;) {
        const ssize_t count = ::recv(m_descriptor, data, static_cast<size_t>(size), 0);
        if (count > 0)
            return count;
        if (count == 0)
            return Ended;
        if (errno != EINTR)
            return mayWorkLater() ? 0 : Ended;
    }
}

void ClientSocket::setReading(bool reading) { m_readable.setEnabled(reading); }

void ClientSocket::write(const QByteArray& bytes)
{
    m_unsent = bytes;
    m_sent = 0;
    sendSome();
}

void ClientSocket::endSending() { ::shutdown(m_descriptor, SHUT_WR); }

void ClientSocket::sendSome()
{
    while (bytesToWrite() > 0 && !m_broken) {
        // Without the flag a client that has gone would end the whole program.
        const ssize_t count
            = ::send(m_descriptor, m_unsent.constData() + m_sent, static_cast<size_t>(bytesToWrite()), MSG_NOSIGNAL);
        if (count >= 0)
            m_sent += count;
        else if (mayWorkLater())
            break;
        else
            m_broken = errno != EINTR;
    }
    m_writable.setEnabled(bytesToWrite() > 0 && !m_broken);
}

void ClientSocket::flush()
{
    sendSome();
    Q_EMIT bytesWritten();
}

} // namespace kelmo
