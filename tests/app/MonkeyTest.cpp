#include "tests/app/Monkey.h"
#include "tests/app/EditHistory.h"
#include "tests/app/WindowFixture.h"
#include "tests/platform/PrivateBus.h"
#include "views/transcript/TranscriptView.h"

#include <QDesktopServices>
#include <QFile>

namespace kelmo {

namespace {

constexpr unsigned usualSeed = 20'250'117;
constexpr int fewEvents = 600; ///< Every time; a thorough run asks for more.
constexpr int eventsToAReplay = 200;
constexpr int eventsTold = 60;
constexpr int takeSeconds = 20;

int setting(const char* variable, int usual)
{
    bool isNumber = false;
    const int value = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? value : usual;
}

/// Where a page would be opened.
class Browser : public QObject {
    Q_OBJECT

public:
    Q_SLOT void open(const QUrl&) { ++opened; }

    int opened = 0;
};

/// A window under random input. What leads out of the program ends at stand-ins.
class MonkeyRun : public WindowFixture {
protected:
    MonkeyRun()
    {
        EXPECT_NE(PrivateBus::start(), nullptr) << "file managers are asked over it";
        QDesktopServices::setUrlHandler(QStringLiteral("kelmo-recorder"), &m_browser, "open");
        m_home.write(QStringLiteral(".local/share/applications/recorder.desktop"),
            "[Desktop Entry]\nMimeType=x-scheme-handler/kelmo-recorder;\n");
        const QString tool = m_home.write(QStringLiteral(".local/bin/claude"), "#!/bin/sh\nsleep 0.2\n");
        QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        makeTakes();
    }
    ~MonkeyRun() override { QDesktopServices::unsetUrlHandler(QStringLiteral("kelmo-recorder")); }

    /// The transcript strikes through what is cut, and nothing else.
    [[nodiscard]] QString pageFault()
    {
        const std::vector<StyledRange>& painted = window().findChild<TranscriptView*>()->textView().page().styles();
        if (painted.size() != editor().words().size())
            return QStringLiteral("a transcript with other words");
        for (size_t i = 0; i < painted.size(); ++i) {
            const bool isCut = EditOps::isCut(editor().words()[i], editor().cuts().effective);
            if (isCut != (painted[i].style == WordStyle::Cut))
                return QStringLiteral("word %1 looks wrong").arg(i);
        }
        return {};
    }

    [[nodiscard]] QString fault(const EditHistory& history)
    {
        const QString found = history.fault();
        return found.isEmpty() ? pageFault() : found;
    }

    Browser m_browser;

private:
    void makeTakes()
    {
        const auto make = [this](const QString& base, int seconds) {
            CodedMovie movie = m_takes.talkingMovie(base + QStringLiteral(".mov"), seconds);
            kelmo::make(movie);
            std::vector<Word> words = TakeFolder::talk(seconds);
            for (size_t i = 2; i < words.size(); i += 5)
                words[i].text = QStringLiteral("um");
            m_takes.writeTranscript(base, words, TakeFolder::Aligned::Yes);
            m_takes.writeSync(base);
        };
        make(QStringLiteral("another"), takeSeconds / 2);
        m_takes.age(m_takes.file(QStringLiteral("another_sync.json")), 60);
        make(QStringLiteral("talk"), takeSeconds);
    }
};

} // namespace

TEST_F(MonkeyRun, anyEventsLeaveAnEditThatItsHistoryTells)
{
    launch();
    const unsigned seed = unsigned(setting("KELMO_MONKEY_SEED", usualSeed));
    const int events = setting("KELMO_MONKEY_EVENTS", fewEvents);
    EditHistory history(editor());
    Monkey monkey(seed, window());
    QStringList told;
    for (int i = 1; i <= events; ++i) {
        if (!window().isVisible())
            m_app->applicationShouldHandleReopen(std::nullopt);
        told.append(monkey.act());
        QString found = fault(history);
        QCoreApplication::processEvents();
        if (found.isEmpty())
            found = fault(history);
        if (found.isEmpty() && (i % eventsToAReplay == 0 || i == events))
            found = history.replay();
        ASSERT_TRUE(found.isEmpty()) << qPrintable(found) << "\nafter " << i << " events with seed " << seed << ":\n"
                                     << qPrintable(told.mid(told.size() - eventsTold).join(QLatin1Char('\n')));
    }
    EXPECT_GT(history.steps(), events / 50) << "hardly anything has been edited";
}

} // namespace kelmo

#include "MonkeyTest.moc"
