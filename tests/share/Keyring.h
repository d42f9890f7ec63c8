#pragma once

#include <QProcess>
#include <QTemporaryDir>

namespace kelmo {

/// A real Secret Service with an unlocked keyring of its own, on the tests' message bus. Started on first use and
/// shared by all tests of the process, because the keychain library keeps the first one that it meets. Main thread
/// only.
class Keyring {
public:
    /// Without an account; nothing when this machine lacks what it takes.
    [[nodiscard]] static Keyring* start();
    ~Keyring();

    /// Keeps the account's item as the recorder does.
    [[nodiscard]] bool store(const QByteArray& account);
    [[nodiscard]] bool remove();
    [[nodiscard]] bool lock(); ///< For good: only its user could unlock it.

    /// Makes it stop answering, and go on.
    void freeze();
    void thaw();

private:
    Keyring();
    [[nodiscard]] bool answers() const;

    QTemporaryDir m_folder;
    QProcess m_daemon;
};

} // namespace kelmo
