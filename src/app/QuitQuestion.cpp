#include "app/QuitQuestion.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

namespace kelmo {

namespace {

struct Text {
    QString question;
    QString consequence;
    QString stay;
};

Text textOf(QuitQuestion::Work work)
{
    using namespace Qt::StringLiterals;
    switch (work) {
    case QuitQuestion::Work::Export:
        return {u"An export is running."_s, u"If you quit now, the video is not finished and no file is left."_s,
            u"Keep Exporting"_s};
    case QuitQuestion::Work::Upload:
        return {
            u"A link is being filled."_s, u"If you quit now, the link does not play this edit."_s, u"Keep Uploading"_s};
    }
    return {};
}

} // namespace

QMessageBox* QuitQuestion::ask(QWidget* window, Work work)
{
    const Text text = textOf(work);
    auto* asked = new QMessageBox(QMessageBox::Warning, QStringLiteral("Quit Vorlix"), text.question,
        QMessageBox::NoButton, window && window->isVisible() ? window : nullptr);
    asked->setAttribute(Qt::WA_DeleteOnClose);
    asked->setInformativeText(text.consequence);
    QPushButton* stay = asked->addButton(text.stay, QMessageBox::RejectRole);
    const QPushButton* quit = asked->addButton(QStringLiteral("Quit"), QMessageBox::DestructiveRole);
    asked->setDefaultButton(stay);
    asked->setEscapeButton(stay);
    QObject::connect(quit, &QPushButton::clicked, qApp, &QCoreApplication::quit);
    asked->open();
    return asked;
}

} // namespace kelmo
