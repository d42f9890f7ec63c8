#include "tests/app/AssistiveClient.h"
#include "tests/editor/TakeFolder.h"
#include "tests/platform/PrivateBus.h"
#include "tests/support/TemporaryHome.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>

namespace kelmo {

namespace {

constexpr int patienceMs = 30'000;
constexpr const char* appPath = "/org/kelmo/editor";

QString latin(const char* text) { return QString::fromLatin1(text); }

/// The real program on an X server of its own, read as a screen reader reads it: from another process, over the bus.
class ScreenReader : public testing::Test {
protected:
    void SetUp() override
    {
        const bool canRead = QFile::exists(latin("/usr/share/dbus-1/services/org.a11y.Bus.service"))
            && !QStandardPaths::findExecutable(latin("Xvfb")).isEmpty();
        if (!canRead || !PrivateBus::start())
            GTEST_SKIP() << "needs Xvfb, dbus-daemon and at-spi2-core";
        ASSERT_TRUE(m_reader.start(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS")));
        for (const char* base : {"talk", "other"}) {
            m_takes.makeMovie(latin(base), 10);
            m_takes.writeSync(latin(base));
        }
        std::vector<Word> words = TakeFolder::talk(10);
        words[4].text = latin("um");
        m_takes.writeTranscript(latin("talk"), words, TakeFolder::Aligned::Yes);
        m_takes.writeTranscript(latin("other"), TakeFolder::talk(4), TakeFolder::Aligned::Yes);
        startProgram();
        ASSERT_TRUE(QTest::qWaitFor([this] { return findTranscript(); }, patienceMs)) << "no transcript to be read";
    }

    ~ScreenReader() override
    {
        for (QProcess* process : {&m_program, &m_server}) {
            process->terminate();
            process->waitForFinished();
        }
    }

    /// Whether such an event has arrived or does so in time.
    [[nodiscard]] bool arrives(const std::function<bool(const AssistiveClient::Event&)>& is)
    {
        const auto has = [&] { return std::any_of(m_reader.events().begin(), m_reader.events().end(), is); };
        return QTest::qWaitFor(has, patienceMs);
    }

    /// Has the program open a take, as a file manager does.
    void open(const QString& path)
    {
        QDBusMessage request = QDBusMessage::createMethodCall(
            latin("org.kelmo.editor.Port0"), latin(appPath), latin("org.freedesktop.Application"), latin("Open"));
        request << QStringList{QUrl::fromLocalFile(path).toString()} << QVariantMap();
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), latin("file-manager"))
            .call(request);
    }

    AssistiveClient m_reader;
    AccessibleReference m_transcript;
    TemporaryHome m_home;
    TakeFolder m_takes;

private:
    void startProgram()
    {
        // What is started here ends with the test even if that crashes.
        for (QProcess* process : {&m_server, &m_program})
            process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_server.start(latin("Xvfb"),
            {latin("-displayfd"), latin("1"), latin("-screen"), latin("0"), latin("1600x1000x24"), latin("-nolisten"),
                latin("tcp")});
        while (!m_server.canReadLine() && m_server.waitForReadyRead(patienceMs)) { }
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(latin("WAYLAND_DISPLAY"));
        environment.insert(latin("DISPLAY"), latin(":") + QString::fromLatin1(m_server.readLine().trimmed()));
        environment.insert(latin("QT_QPA_PLATFORM"), latin("xcb"));
        m_program.setProcessEnvironment(environment);
        m_program.setProcessChannelMode(QProcess::ForwardedChannels);
        m_program.start(latin(KELMO_PROGRAM),
            {latin("--muted"), latin("--port"), latin("0"), latin("--take"), m_takes.movie(latin("talk"))});
    }

    bool findTranscript()
    {
        for (const AccessibleReference& each : m_reader.everything()) {
            if (m_reader.text(each).value_or(QString()).startsWith(latin("w0 w1"))) {
                m_transcript = each;
                return true;
            }
        }
        return false;
    }

    QProcess m_server;
    QProcess m_program;
};

} // namespace

/// One test, because the desktop's service ends with the X server that the first one had.
TEST_F(ScreenReader, readsEveryControlAndFollowsTheTranscript)
{
    int controls = 0;
    int grounds = 0;
    for (const AccessibleReference& each : m_reader.everything()) {
        if (!m_reader.isFocusable(each))
            continue;
        const QString role = m_reader.roleName(each);
        // What lies behind the controls takes a click only to hand the keyboard on to the transcript.
        if (role == latin("filler") && ++grounds == 1)
            continue;
        ++controls;
        EXPECT_FALSE(m_reader.name(each).isEmpty()) << qPrintable(role);
        const QStringList nothing{latin("invalid"), latin("unknown"), latin("filler"), latin("extended"), QString()};
        EXPECT_FALSE(nothing.contains(role)) << qPrintable(m_reader.name(each));
    }
    EXPECT_GE(controls, 12);

    EXPECT_EQ(m_reader.text(m_transcript), latin("w0 w1 w2 w3 um w5 w6 w7 w8 w9"));

    EXPECT_TRUE(m_reader.onText(m_transcript, latin("SetCaretOffset"), {6}).value(0).toBool());
    EXPECT_TRUE(arrives([](const auto& event) { return event.name == latin("TextCaretMoved") && event.first == 6; }));

    EXPECT_TRUE(m_reader.onText(m_transcript, latin("AddSelection"), {3, 8}).value(0).toBool());
    EXPECT_TRUE(arrives([](const auto& event) { return event.name == latin("TextSelectionChanged"); }));
    EXPECT_EQ(m_reader.onText(m_transcript, latin("GetSelection"), {0}), (QVariantList{3, 8}));

    EXPECT_TRUE(m_reader.onText(m_transcript, latin("SetCaretOffset"), {13}).value(0).toBool());
    m_reader.press(m_reader.find(latin("Cut fillers")));
    const QString cut = QString::fromUtf8("“um” is cut, 1 of 10 words are cut");
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_reader.description(m_transcript) == cut; }, patienceMs))
        << qPrintable(m_reader.description(m_transcript));

    open(m_takes.movie(latin("other")));
    EXPECT_TRUE(arrives([](const auto& event) {
        return event.name == latin("TextChanged") && event.kind.startsWith(latin("insert"))
            && event.text == latin("w0 w1 w2 w3");
    }));
    EXPECT_EQ(m_reader.text(m_transcript), latin("w0 w1 w2 w3"));
}

} // namespace kelmo
