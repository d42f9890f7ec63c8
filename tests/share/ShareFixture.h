#pragma once

#include "share/Sharer.h"
#include "tests/editor/EditorFixture.h"
#include "tests/fakes/ShareServer.h"

namespace kelmo {

/// An editor with a take, a share server and a sharer that may use it, in a home folder of their own.
class ShareFixture : public EditorFixture {
protected:
    ShareFixture();
    ~ShareFixture() override;

    /// A server whose parts have this size, in bytes; 0 leaves it to the rule.
    void startServer(qint64 partSize = 0);
    /// Writes share.json for the server.
    void configure(bool autoShare = false, const QString& quality = QStringLiteral("1080p")) const;
    void startSharer(const ShareTimeouts& pace = quickPace());
    /// Server, configuration, sharer, and a take of a few pictures, opened.
    void startAll(qint64 partSize = 0);
    void openTake(const QString& base = QStringLiteral("talk"), int seconds = 2);

    /// Starts a share and waits for its answer.
    [[nodiscard]] Result<QString> share(bool waitForUpload);
    /// Waits until nothing of a share is under way.
    [[nodiscard]] bool waitUntilIdle();

    /// Every request whose path contains this takes a while, or is answered like this.
    void slow(const QByteArray& inPath, int ms);
    void answer(const QByteArray& inPath, int status, const QByteArray& body);

    /// Fails the test unless the link plays what the editor shows, and says so.
    void expectPlaysCurrentEdit(const QString& id = QStringLiteral("1"));

    /// One more edit, which no other has the signature of.
    void edit();
    [[nodiscard]] QString signature() const { return m_editor->cuts().signature(); }

    [[nodiscard]] QJsonObject recordFile(const QString& base = QStringLiteral("talk")) const;
    [[nodiscard]] QByteArray configFile() const;
    [[nodiscard]] QByteArray newestExport() const;
    [[nodiscard]] QByteArray video(const QString& id) const;
    [[nodiscard]] QString clipboard() const;
    [[nodiscard]] QStringList shareLog() const { return logged(QStringLiteral("share")); }

    [[nodiscard]] static ShareTimeouts quickPace();

    const QString m_token = QStringLiteral("sesame-0123456789");
    std::unique_ptr<ShareServer> m_server;
    std::unique_ptr<Sharer> m_sharer;
    QStringList m_phases; ///< Each that was on show, in order.
    int m_edits = 0;
};

} // namespace kelmo
