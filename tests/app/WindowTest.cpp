#include "platform/ReducedMotion.h"
#include "tests/app/WindowFixture.h"
#include "tests/platform/FakeSettingsPortal.h"
#include "tests/platform/PrivateBus.h"
#include "views/style/DarkStyle.h"
#include "views/style/Theme.h"
#include "views/timeline/TimelineBar.h"
#include "views/window/DropHighlight.h"
#include "views/window/PlayerView.h"
#include "views/window/PromptLines.h"
#include "views/window/RootView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDragEnterEvent>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QTemporaryFile>
#include <QTest>

namespace kelmo {

namespace {

class Window : public WindowFixture {
protected:
    /// Whether an agent gets an answer.
    [[nodiscard]] bool serverAnswers()
    {
        if (!waitUntil([this] { return m_port != 0; }))
            return false;
        QNetworkAccessManager network;
        QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/mcp").arg(m_port)));
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        QNetworkReply* reply = network.post(request, R"({"jsonrpc":"2.0","id":1,"method":"ping"})");
        return waitUntil([reply] { return reply->isFinished(); }) && reply->error() == QNetworkReply::NoError;
    }

    static constexpr QSize wideScreen{1600, 1000};

    /// Runs tests of this program again on a screen of that size.
    static void runOnAWideScreen(const QString& tests)
    {
        QTemporaryFile screens;
        ASSERT_TRUE(screens.open());
        screens.write(R"({"screens": [{"name": "wide", "x": 0, "y": 0, "width": 1600, "height": 1000, "logicalDpi": 96,
            "logicalBaseDpi": 96, "dpr": 1}]})");
        screens.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(
            QStringLiteral("KELMO_TEST_PLATFORM"), QStringLiteral("offscreen:configfile=") % screens.fileName());
        QProcess child;
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--gtest_filter=") % tests});
        ASSERT_TRUE(child.waitForFinished(120'000));
        EXPECT_EQ(child.exitCode(), 0) << child.readAllStandardOutput().constData();
    }

    /// Drops files on the window's middle.
    void drop(const QList<QUrl>& urls)
    {
        QMimeData data;
        data.setUrls(urls);
        QWidget* target = window().childAt(window().rect().center());
        while (!target->acceptDrops())
            target = target->parentWidget();
        QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(target, &enter);
        if (!enter.isAccepted())
            return;
        QDropEvent dropped({}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(target, &dropped);
    }
};

} // namespace

TEST_F(Window, launchOpensTheNewestTakeInACentredWindow)
{
    launch();
    EXPECT_EQ(editor().take()->base, QStringLiteral("talk"));
    EXPECT_EQ(window().windowTitle(), QStringLiteral("talk"));
    const QRect screen = window().screen()->availableGeometry();
    EXPECT_EQ(window().size(), EditorWindow::firstFrame(screen).size());
    EXPECT_EQ(window().minimumSize(), QSize(900, 520));
    EXPECT_TRUE(control(QStringLiteral("0:10")) != nullptr) << "the summary";
    EXPECT_TRUE(control(QStringLiteral("0:00 / 0:10")) != nullptr) << "the time";
    EXPECT_TRUE(serverAnswers());
}

TEST_F(Window, closingPausesAndServesOnUntilReopened)
{
    launch();
    click(QStringLiteral("Play"));
    ASSERT_TRUE(waitUntil([this] { return editor().isPlaying(); }));
    key(Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window().isVisible());
    EXPECT_TRUE(waitUntil([this] { return !editor().isPlaying(); }));
    EXPECT_TRUE(serverAnswers());
    m_app->applicationShouldHandleReopen(std::nullopt);
    EXPECT_TRUE(window().isVisible());
    window().close();
    editor().open(m_takes.movie(QStringLiteral("talk"))); // As an agent does.
    EXPECT_TRUE(window().isVisible());
}

TEST_F(Window, secondStartOnTheOpenTakeKeepsItsEdit)
{
    launch();
    editor().toggleWords({0, 1});
    const double edited = editor().timeline().durationMs;
    ASSERT_LT(edited, editor().sourceDurationMs());
    m_app->applicationShouldHandleReopen(m_takes.movie(QStringLiteral("talk")));
    EXPECT_EQ(editor().timeline().durationMs, edited);
    m_takes.makeMovie(QStringLiteral("other"), 4);
    m_app->applicationShouldHandleReopen(m_takes.movie(QStringLiteral("other")));
    EXPECT_TRUE(shows(QStringLiteral("other")));
}

TEST_F(Window, openingTheOpenTakeOrABrokenOneKeepsTheEdit)
{
    launch();
    m_takes.write(QStringLiteral("broken.mov"), QByteArray("this is no movie").repeated(500));
    const std::pair<const char*, std::function<void()>> doors[] = {
        {"drop of the open take", [&] { drop({QUrl::fromLocalFile(m_takes.movie(QStringLiteral("talk")))}); }},
        {"take menu", [&] { choose(QStringLiteral("talk"), QStringLiteral("talk")); }},
        {"open newest", [&] { key(Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier); }},
        {"drop of a broken movie", [&] { drop({QUrl::fromLocalFile(m_takes.movie(QStringLiteral("broken")))}); }},
    };
    editor().toggleWords({0, 1});
    const double edited = editor().timeline().durationMs;
    for (const auto& [door, open] : doors) {
        open();
        EXPECT_EQ(editor().timeline().durationMs, edited) << door;
        EXPECT_EQ(editor().undo().count(), 1) << door;
    }
    EXPECT_TRUE(waitUntil([this] { return editor().status().value_or(QString()).contains(QStringLiteral("broken")); }));
    EXPECT_EQ(editor().take()->base, QStringLiteral("talk"));
    EXPECT_EQ(editor().timeline().durationMs, edited);
}

TEST_F(Window, quittingDuringAnExportAsks)
{
    makeLongTake();
    launch();
    const QCoro::Task<void> exporting = editor().exportFromUI();
    ASSERT_TRUE(editor().exportProgress());
    key(Qt::Key_Q, Qt::ControlModifier);
    key(Qt::Key_Q, Qt::ControlModifier);
    const auto questions = [this] { return window().findChildren<QMessageBox*>(); };
    ASSERT_EQ(questions().size(), 1) << "asked once";
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return questions().empty(); }));
    EXPECT_TRUE(waitUntil([this] { return !editor().exportProgress(); }));
    EXPECT_TRUE(editor().status()->startsWith(QStringLiteral("Exported"))) << qPrintable(*editor().status());
}

TEST_F(Window, launchInTheBackgroundShowsNothingUntilATakeIsOpened)
{
    CommandLine background;
    background.background = true;
    launch(background);
    EXPECT_FALSE(window().isVisible());
    EXPECT_FALSE(editor().take());
    EXPECT_TRUE(serverAnswers());
    m_app->applicationShouldHandleReopen(std::nullopt);
    EXPECT_TRUE(window().isVisible());
    EXPECT_TRUE(editor().take()) << "the newest, since none was open";
}

TEST_F(Window, frameIsRestoredWhereItWasButOnTheScreen)
{
    // The usual screen of a machine without one is smaller than the smallest window.
    if (QGuiApplication::primaryScreen()->size() != wideScreen) {
        runOnAWideScreen(QStringLiteral("Window.frameIsRestored*"));
        return;
    }
    for (const auto& [left, restored] : {std::pair(QRect(40, 60, 1000, 600), QRect(40, 60, 1000, 600)),
             {QRect(700, 500, 1000, 600), QRect(600, 392, 1000, 600)}}) {
        launch();
        window().setGeometry(left);
        window().close();
        quit();
        launch();
        EXPECT_EQ(window().geometry(), restored);
        quit();
    }
}

TEST(EditorWindow, titleBarIsOnTheScreen)
{
    struct Case {
        QRect room;
        QRect first;
    };
    for (const Case& each : {
             Case{{0, 0, 1920, 1080}, {300, 160, 1320, 760}},
             Case{{0, 0, 1366, 768}, {23, 40, 1320, 720}},
             Case{{0, 28, 1366, 740}, {23, 68, 1320, 692}},
             Case{{0, 0, 1024, 600}, {0, 40, 1024, 552}},
         }) {
        const QRect first = EditorWindow::firstFrame(each.room);
        EXPECT_EQ(first, each.first) << each.room.width();
        EXPECT_EQ(EditorWindow::frameOn(each.room, first), first) << "and stays there";
        for (const QPoint away : {QPoint(-500, -500), QPoint(3000, 2000)}) {
            const QRect back = EditorWindow::frameOn(each.room, first.translated(away));
            EXPECT_TRUE(each.room.adjusted(0, 40, 0, -8).contains(back)) << each.room.width();
        }
    }
}

TEST_F(Window, lessMotionShowsEveryStateAtOnce)
{
    PrivateBus* bus = PrivateBus::start();
    if (!bus || !QDBusConnection::sessionBus().isConnected())
        GTEST_SKIP() << "no message bus daemon here";
    FakeSettingsPortal portal;
    portal.animations = false;
    bus->offer(FakeSettingsPortal::service(), FakeSettingsPortal::path(), &portal);
    launch();
    EXPECT_TRUE(waitUntil([] { return ReducedMotion::asked(); }));
    QAbstractButton* split = button(QStringLiteral("Split"));
    const auto surface = [split] { return split->grab().toImage().pixelColor(4, 14); };
    const QColor before = surface();
    QTest::mousePress(window().windowHandle(), Qt::LeftButton, {}, split->mapTo(&window(), split->rect().center()));
    ASSERT_TRUE(waitUntil([split] { return split->isDown(); }));
    const QColor pressed = surface();
    EXPECT_NE(pressed, before) << "no fade";
    QTest::qWait(2 * Theme::fadeMs);
    EXPECT_EQ(surface(), pressed);
    QTest::mouseRelease(window().windowHandle(), Qt::LeftButton, {}, split->mapTo(&window(), split->rect().center()));

    auto* bar = window().findChild<TimelineBar*>();
    const QRectF strip = TimelineBar::frameInWindow();
    const QPoint handle(int(strip.left()) + 5, int(strip.center().y()));
    QTest::mousePress(window().windowHandle(), Qt::LeftButton, {}, handle);
    const double ratio = bar->devicePixelRatioF();
    const QColor above
        = bar->grab().toImage().pixelColor(QPoint(int(8 * ratio), int((TimelineBar::overhang - 1) * ratio)));
    EXPECT_GT(above.red(), 100) << "the handle is stretched as soon as it is held";
    QTest::mouseRelease(window().windowHandle(), Qt::LeftButton, {}, handle);

    portal.animations = true;
    ReducedMotion::ask();
    EXPECT_TRUE(waitUntil([] { return !ReducedMotion::asked(); })) << "for the tests that follow";
    bus->withdraw(FakeSettingsPortal::service());
}

TEST_F(Window, withoutATakeItInvitesToOpenOne)
{
    launchWithoutTakes();
    EXPECT_NE(control(QStringLiteral("No take")), nullptr);
    for (const char* name : {"Play", "Split", "Cut fillers", "Tighten pauses", "Export"}) {
        const QAbstractButton* disabled = button(QString::fromLatin1(name));
        EXPECT_FALSE(disabled->isEnabled()) << name;
        EXPECT_FALSE(disabled->toolTip().isEmpty()) << name << " says why";
    }
    click(QStringLiteral("Open…"));
    ASSERT_TRUE(waitUntil([] { return QApplication::activeModalWidget() != nullptr; }));
    QApplication::activeModalWidget()->close();
}

TEST_F(Window, controlRowPlaysSplitsAndChoosesTheSpeed)
{
    launch();
    QAbstractButton* play = button(QStringLiteral("Play"));
    click(play);
    ASSERT_TRUE(waitUntil([this] { return editor().isPlaying(); }));
    EXPECT_EQ(play->accessibleName(), QStringLiteral("Pause"));
    click(play);
    ASSERT_TRUE(waitUntil([this] { return !editor().isPlaying(); }));
    editor().previewSource(5000);
    click(QStringLiteral("Split"));
    EXPECT_EQ(editor().splits(), std::vector<double>{5000});
    for (const auto& [label, rate] : {std::pair{"1.5×", 1.5}, {"2×", 2.0}, {"3×", 3.0}, {"1×", 1.0}}) {
        QAbstractButton* choice = button(QString::fromUtf8(label));
        EXPECT_EQ(choice->toolTip(), QStringLiteral("Play at %1 speed").arg(QString::fromUtf8(label)));
        click(choice);
        EXPECT_EQ(editor().playbackRate(), rate);
        EXPECT_TRUE(choice->isChecked());
    }
}

TEST_F(Window, fillersAndPausesAreCutAndCounted)
{
    launch();
    QAbstractButton* fillers = button(QStringLiteral("Cut fillers"));
    EXPECT_EQ(fillers->accessibleDescription(), QStringLiteral("2"));
    click(fillers);
    EXPECT_EQ(editor().cuts().spans.size(), 2u);
    EXPECT_EQ(fillers->accessibleDescription(), QStringLiteral("0"));
    EXPECT_FALSE(fillers->isEnabled());
    EXPECT_NE(control(QStringLiteral("Cut 2 fillers")), nullptr) << "the status line";
    QAbstractButton* pauses = button(QStringLiteral("Tighten pauses"));
    const int before = editor().pauseCount();
    EXPECT_EQ(pauses->accessibleDescription(), QString::number(before));
    click(pauses);
    EXPECT_LT(editor().pauseCount(), before);
}

TEST_F(Window, exportSettingsAreChosenFromTheirMenu)
{
    launch();
    const QString before = QStringLiteral("HEVC · Native · 30 fps");
    choose(before, QStringLiteral("H.264"));
    choose(QStringLiteral("H.264 · Native · 30 fps"), QStringLiteral("1080p"));
    choose(QStringLiteral("H.264 · 1080p · 30 fps"), QStringLiteral("60 fps"));
    EXPECT_EQ(editor().codec(), Codec::H264);
    EXPECT_EQ(editor().exportHeight(), 1080);
    EXPECT_EQ(editor().exportFPS(), 60);
    choose(QStringLiteral("H.264 · 1080p · 60 fps"), QStringLiteral("Native"));
    choose(QStringLiteral("H.264 · Native · 60 fps"), QStringLiteral("HEVC"));
    choose(QStringLiteral("HEVC · Native · 60 fps"), QStringLiteral("30 fps"));
    EXPECT_NE(control(before), nullptr);
}

TEST_F(Window, exportShowsItsPercentAndCanBeCancelled)
{
    makeLongTake();
    launch();
    QAbstractButton* exporting = button(QStringLiteral("Export"));
    click(exporting);
    ASSERT_TRUE(editor().exportProgress());
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d{1,2}%$")).match(exporting->text()).hasMatch());
    click(QStringLiteral("Cancel"));
    ASSERT_TRUE(waitUntil([this] { return !editor().exportProgress(); }));
    EXPECT_EQ(exporting->text(), QStringLiteral("Export"));
    EXPECT_NE(control(QStringLiteral("Export cancelled")), nullptr);
    EXPECT_TRUE(QDir(m_home.file(QStringLiteral("Movies/Vorlix"))).isEmpty());

    click(exporting);
    ASSERT_TRUE(waitUntil([this] { return !editor().exportProgress(); }));
    EXPECT_EQ(
        QDir(m_home.file(QStringLiteral("Movies/Vorlix"))).entryList({QStringLiteral("talk-hevc-*.mp4")}).size(), 1);
}

TEST_F(Window, statusFadesButAProblemStaysUntilDismissed)
{
    launch();
    editor().setStatus(QStringLiteral("Done"));
    QWidget* line = control(QStringLiteral("Done"));
    EXPECT_TRUE(waitUntil([line] { return static_cast<QLabel*>(line)->text().isEmpty(); })) << "fades by itself";
    drop({QUrl::fromLocalFile(m_takes.file(QStringLiteral("nothing.mov")))});
    const QString problem = editor().status().value();
    QTest::qWait(5000); // Longer than a notice stays.
    EXPECT_NE(control(problem), nullptr);
    click(QStringLiteral("Dismiss"));
    EXPECT_FALSE(editor().status());
    EXPECT_TRUE(static_cast<QLabel*>(line)->text().isEmpty());
}

TEST_F(Window, takesAreOpenedFromTheMenuAndByDropping)
{
    launch();
    m_takes.makeMovie(QStringLiteral("a & b"), 2);
    m_takes.writeSync(QStringLiteral("a & b"));
    choose(QStringLiteral("talk"), QStringLiteral("a && b"));
    EXPECT_TRUE(shows(QStringLiteral("a & b")));
    drop({QUrl(QStringLiteral("https://example.org/x.mov")),
        QUrl::fromLocalFile(m_takes.transcript(QStringLiteral("talk")))});
    EXPECT_TRUE(shows(QStringLiteral("talk"))) << "any file of a take will do";
    drop({QUrl(QStringLiteral("https://example.org/x.mov"))});
    EXPECT_EQ(editor().take()->base, QStringLiteral("talk"));
    click(QStringLiteral("talk"));
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    key(Qt::Key_Escape);
}

TEST_F(Window, firstClickInAnInactiveWindowGrabsAHandle)
{
    launch();
    key(Qt::Key_Comma, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return QApplication::activeWindow() != &window(); }));
    const QRectF bar = TimelineBar::frameInWindow();
    const QPoint grab(int(bar.left()) + 12, int(bar.center().y()));
    QTest::mousePress(window().windowHandle(), Qt::LeftButton, {}, grab);
    for (int step = 1; step <= 10; ++step)
        QTest::mouseMove(window().windowHandle(), grab + QPoint(step * 20, 0));
    QTest::mouseRelease(window().windowHandle(), Qt::LeftButton, {}, grab + QPoint(200, 0));
    EXPECT_GT(editor().cuts().trimIn, 0);
}

TEST_F(Window, menuOpensWithItsButtonAndItsKey)
{
    launch();
    click(QStringLiteral("Menu"));
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() == nullptr; }));
    key(Qt::Key_F10);
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    QStringList titles;
    for (const QAction* action : menu->actions())
        titles.append(action->text());
    EXPECT_EQ(titles,
        (QStringList{QStringLiteral("File"), QStringLiteral("Edit"), {}, QStringLiteral("Settings…"), {},
            QStringLiteral("Quit Vorlix")}));
    menu->close();
}

TEST_F(Window, menuEnablesWhatCanBeDone)
{
    launchWithoutTakes();
    const auto enabled = [this](const QString& title) {
        for (QAction* action : window().actions()) {
            if (action->text() == title)
                return action->isEnabled();
        }
        ADD_FAILURE() << qPrintable(title);
        return false;
    };
    EXPECT_FALSE(enabled(QStringLiteral("Trim Start to Playhead")));
    EXPECT_FALSE(enabled(QStringLiteral("Trim End to Playhead")));
    EXPECT_FALSE(enabled(QStringLiteral("Clear Trim")));
    for (const char* always : {"Open…", "Open Newest Take", "Export", "Share / Update Link", "Close Window", "Copy",
             "Select All", "Cut Fillers", "Tighten Pauses", "Split at Playhead", "Settings…", "Quit Vorlix"})
        EXPECT_TRUE(enabled(QString::fromUtf8(always))) << always;
    quit();
    launch();
    EXPECT_TRUE(enabled(QStringLiteral("Trim Start to Playhead")));
    EXPECT_TRUE(enabled(QStringLiteral("Trim End to Playhead")));
    EXPECT_FALSE(enabled(QStringLiteral("Clear Trim")));
    editor().trim(2000, {}, QStringLiteral("Trim"));
    EXPECT_TRUE(enabled(QStringLiteral("Clear Trim")));
    editor().trim(0, {}, QStringLiteral("Trim"));
    EXPECT_FALSE(enabled(QStringLiteral("Clear Trim")));
}

TEST_F(Window, exportChoicesAreRememberedAndOnlyThoseThatThereAre)
{
    launch();
    editor().setCodec(Codec::H264);
    editor().setExportHeight(1080);
    editor().setExportFPS(60);
    quit();
    launch();
    EXPECT_NE(control(QStringLiteral("H.264 · 1080p · 60 fps")), nullptr);
    editor().setExportHeight(std::nullopt);
    quit();
    launch();
    EXPECT_NE(control(QStringLiteral("H.264 · Native · 60 fps")), nullptr);
    quit();
    m_home.write(
        QStringLiteral("Library/Application Support/Kelmo/export.ini"), "[General]\ncodec=av2\nheight=-7\nfps=31\n");
    launch();
    EXPECT_NE(control(QStringLiteral("HEVC · Native · 30 fps")), nullptr);
}

TEST_F(Window, exportAskedForTwiceLeavesTheOneThatRunsAlone)
{
    launch();
    click(QStringLiteral("Export"));
    ASSERT_TRUE(editor().exportProgress());
    key(Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(editor().status(), QStringLiteral("An export is already running"));
    EXPECT_EQ(editor().statusKind(), Editor::StatusKind::Notice);
    ASSERT_TRUE(waitUntil([this] { return !editor().exportProgress(); }));
    EXPECT_TRUE(editor().status()->startsWith(QStringLiteral("Exported talk-"))) << qPrintable(*editor().status());
}

TEST_F(Window, fileDraggedOverItLightsUpWhereItCanBeDropped)
{
    launch();
    auto* root = window().findChild<RootView*>();
    auto* lit = window().findChild<DropHighlight*>();
    const auto enter = [root](const QUrl& url) {
        QMimeData data;
        data.setUrls({url});
        QDragEnterEvent event({}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(root, &event);
    };
    enter(QUrl(QStringLiteral("https://example.org/x.mov")));
    EXPECT_FALSE(lit->isVisible()) << "nothing that can be opened";
    enter(QUrl::fromLocalFile(m_takes.movie(QStringLiteral("talk"))));
    EXPECT_TRUE(lit->isVisible());
    EXPECT_EQ(lit->geometry(), lit->parentWidget()->rect());
    window().resize(window().size() - QSize(0, 30));
    QCoreApplication::processEvents();
    EXPECT_EQ(lit->geometry(), lit->parentWidget()->rect());
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(root, &leave);
    EXPECT_FALSE(lit->isVisible());
    enter(QUrl::fromLocalFile(m_takes.movie(QStringLiteral("talk"))));
    drop({QUrl::fromLocalFile(m_takes.movie(QStringLiteral("talk")))});
    EXPECT_FALSE(lit->isVisible());
}

TEST_F(Window, lowestWindowKeepsAPictureBesideTheAgentsLines)
{
    QByteArray events;
    for (int i = 0; i < 40; ++i)
        events += R"({"type":"assistant","message":{"content":[{"type":"text","text":"A line of the agent"}]}})"
                  "\n";
    m_home.write(QStringLiteral("events"), events);
    const QString tool = m_home.write(QStringLiteral(".local/bin/claude"), "#!/bin/sh\ncat \"$HOME/events\"\n");
    QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    launch();
    window().resize(window().minimumSize());
    control(QStringLiteral("Ask Claude to edit"))->setFocus();
    type(QStringLiteral("cut"));
    key(Qt::Key_Return);
    auto* lines = window().findChild<PromptLines*>();
    ASSERT_TRUE(waitUntil([&] { return lines->document()->blockCount() == 41; }));
    auto* dismiss = window().findChild<QWidget*>();
    ASSERT_TRUE(waitUntil([&] {
        for (auto* each : window().findChildren<QAbstractButton*>()) {
            if (each->isVisible() && each->accessibleName() == QStringLiteral("Dismiss what Claude said"))
                dismiss = each;
        }
        return qobject_cast<QAbstractButton*>(dismiss) != nullptr;
    }));
    EXPECT_TRUE(waitUntil([&] { return lines->height() >= 40; }));
    const auto* player = window().findChild<PlayerView*>();
    EXPECT_GE(player->visibleRegion().boundingRect().height(), 112);
    EXPECT_EQ(player->visibleRegion().boundingRect().size(), player->size()) << "not cropped";
    const int with = player->height();
    click(dismiss);
    EXPECT_TRUE(waitUntil([&] { return !lines->isVisible() && player->height() > with; }));
    EXPECT_FALSE(dismiss->isVisible());
}

TEST_F(Window, menuOfManyTakesFitsTheScreenAndScrolls)
{
    DarkStyle::apply(*qApp);
    launch();
    for (int i = 0; i < 60; ++i) {
        const QString base = QStringLiteral("take %1").arg(i, 2, 10, QLatin1Char('0'));
        ASSERT_TRUE(QFile::copy(m_takes.movie(QStringLiteral("talk")), m_takes.movie(base)));
        m_takes.writeSync(base);
    }
    click(QStringLiteral("talk"));
    ASSERT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_GE(menu->actions().size(), 61);
    EXPECT_TRUE(menu->screen()->availableGeometry().contains(menu->geometry()));
    const QRect first = menu->actionGeometry(menu->actions().first());
    EXPECT_LE(menu->width(), first.width() + 40) << "one column";
    EXPECT_FALSE(menu->rect().contains(menu->actionGeometry(menu->actions().last()).center()));
    key(Qt::Key_Down);
    key(Qt::Key_Up); // Round to the last one.
    EXPECT_EQ(menu->activeAction(), menu->actions().last());
    EXPECT_TRUE(menu->rect().contains(menu->actionGeometry(menu->actions().last()).center())) << "scrolled to";
    key(Qt::Key_Escape);
    qApp->setStyleSheet({});
}

} // namespace kelmo
