#include "share/Sharer.h"
#include "telemetry/Analytics.h"
#include "tests/app/WindowFixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

namespace kelmo {

namespace {

/// So that what is shown meanwhile can be seen.
constexpr int answerAfterMs = 300;

/// Answers every request with one status line.
class OneAnswerServer : public QTcpServer {
public:
    explicit OneAnswerServer(const QByteArray& status)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this, status] {
            QTcpSocket* socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket, status] {
                request += socket->readAll();
                if (!request.contains("\r\n\r\n"))
                    return;
                QTimer::singleShot(answerAfterMs, socket, [socket, status] {
                    socket->write("HTTP/1.1 " + status + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                    socket->disconnectFromHost();
                });
            });
        });
    }

    [[nodiscard]] QString url() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }

    QByteArray request;
};

class Settings : public WindowFixture {
protected:
    Settings()
    {
        qputenv("KELMO_NO_KEYCHAIN", "1");
        qputenv("KELMO_NO_AUTOSHARE", "1"); // The servers named here are not there.
    }

    void openWith(const std::optional<Sharer::Config>& config)
    {
        if (config)
            Sharer::save(*config);
        launch();
        key(Qt::Key_Comma, Qt::ControlModifier);
        ASSERT_TRUE(waitUntil([] {
            const QWidget* active = QApplication::activeWindow();
            return active && active->windowTitle() == QStringLiteral("Vorlix Settings");
        }));
        m_settings = QApplication::activeWindow();
    }

    [[nodiscard]] QJsonObject saved() const
    {
        return QJsonDocument::fromJson(m_home.read(QStringLiteral("Library/Application Support/Kelmo/share.json")))
            .object();
    }

    QWidget* m_settings = nullptr;
};

} // namespace

TEST_F(Settings, sharingIsChangedAndKeptAtOnce)
{
    openWith(Sharer::Config{
        QStringLiteral("https://share.example"), QStringLiteral("token"), true, QStringLiteral("1080p")});
    EXPECT_EQ(control(QStringLiteral("Server"), m_settings)->property("text"), QStringLiteral("https://share.example"));
    EXPECT_NE(
        control(QStringLiteral("Not signed in — sharing uses this computer's server token."), m_settings), nullptr);
    QAbstractButton* automatic = button(QStringLiteral("Share automatically when a take stops"), m_settings);
    EXPECT_TRUE(automatic->isChecked());
    click(automatic);
    EXPECT_EQ(saved().value(QStringLiteral("autoShare")), false);
    click(button(QStringLiteral("Quality, 1080p — faster"), m_settings));
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Down);
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Down);
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return);
    EXPECT_EQ(saved().value(QStringLiteral("quality")), QStringLiteral("native"));
    EXPECT_NE(control(QStringLiteral("Quality, Native — sharpest"), m_settings), nullptr);
    key(Qt::Key_Escape);
    EXPECT_FALSE(m_settings->isVisible());
}

TEST_F(Settings, withoutAConfigurationItOffersToSignIn)
{
    openWith(std::nullopt);
    EXPECT_NE(control(QStringLiteral("Sign in so every take gets a link."), m_settings), nullptr);
    EXPECT_NE(control(QStringLiteral("Sign In…"), m_settings), nullptr);
    EXPECT_NE(control(QStringLiteral("Not signed in."), m_settings), nullptr);
}

TEST_F(Settings, usageStatisticsFollowTheSwitch)
{
    openWith(std::nullopt);
    QAbstractButton* usage = button(QStringLiteral("Share usage stats and crash reports"), m_settings);
    EXPECT_TRUE(usage->isChecked());
    click(usage);
    EXPECT_FALSE(Analytics::userEnabled());
    usage->setFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    EXPECT_TRUE(Analytics::userEnabled());
}

TEST_F(Settings, testConnectionTellsWhetherTheServerAnswersWithItsPage)
{
    const OneAnswerServer good("200 OK");
    openWith(Sharer::Config{good.url(), QStringLiteral("token"), false, QStringLiteral("native")});
    const auto test = [this](const QString& verdict) {
        click(button(QStringLiteral("Test connection"), m_settings));
        return waitUntil([&] {
            for (auto* label : m_settings->findChildren<QWidget*>()) {
                if (label->property("text") == verdict)
                    return true;
            }
            return false;
        });
    };
    click(button(QStringLiteral("Test connection"), m_settings));
    EXPECT_NE(control(QStringLiteral("Checking…"), m_settings), nullptr);
    EXPECT_TRUE(test(QStringLiteral("Connected ✓")));
    EXPECT_TRUE(good.request.startsWith("GET / HTTP/1.1\r\n")) << good.request.constData();
    EXPECT_FALSE(good.request.toLower().contains("authorization"));
    {
        const OneAnswerServer empty("204 No Content");
        m_app->sharer().setConfig(
            Sharer::Config{empty.url(), QStringLiteral("token"), false, QStringLiteral("native")});
        EXPECT_TRUE(test(QStringLiteral("Can't reach the server")));
        m_app->sharer().setConfig(Sharer::Config{good.url(), QStringLiteral("token"), false, QStringLiteral("native")});
        EXPECT_TRUE(test(QStringLiteral("Connected ✓")));
        m_app->sharer().setConfig(
            Sharer::Config{empty.url(), QStringLiteral("token"), false, QStringLiteral("native")});
    }
    EXPECT_TRUE(test(QStringLiteral("Can't reach the server"))) << "there is no listener any more";
}

} // namespace kelmo
