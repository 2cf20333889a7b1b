#include "PvAlertDialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <memory>

namespace {

bool canShowDialogs()
{
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!app || QThread::currentThread() != app->thread())
        return false;
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
}

} // namespace

QMessageBox* PvCreateAlertBox(const PvAlertRequest& request)
{
    auto* box = new QMessageBox;
    box->setWindowTitle(request.header);
    box->setText(request.header);
    box->setInformativeText(request.message.trimmed());
    box->setIcon(request.critical ? QMessageBox::Critical : QMessageBox::NoIcon);
    auto add = [box](const QString& title, QMessageBox::ButtonRole role, int response) {
        QPushButton* button = box->addButton(title, role);
        button->setProperty("pvAlertResponse", response);
        return button;
    };
    QPushButton* defaultButton = add(request.defaultButton, QMessageBox::AcceptRole, kPvAlertDefaultResponse);
    if (!request.alternateButton.isEmpty())
        add(request.alternateButton, QMessageBox::RejectRole, kPvAlertAlternateResponse);
    if (!request.otherButton.isEmpty())
        add(request.otherButton, QMessageBox::DestructiveRole, kPvAlertOtherResponse);
    box->setDefaultButton(defaultButton);
    return box;
}

int PvExecAlertBox(QMessageBox* box, double timeoutSeconds)
{
    bool timedOut = false;
    QTimer timer;
    if (timeoutSeconds > 0) {
        timer.setSingleShot(true);
        QObject::connect(&timer, &QTimer::timeout, box, [&timedOut, box] {
            timedOut = true;
            box->done(QDialog::Rejected);
        });
        timer.start(int(timeoutSeconds * 1000));
    }
    box->exec();
    QAbstractButton* clicked = box->clickedButton();
    if (timedOut || !clicked || !clicked->property("pvAlertResponse").isValid())
        return kPvAlertCancelResponse;
    return clicked->property("pvAlertResponse").toInt();
}

int PvDialogAlert(const PvAlertRequest& request)
{
    if (!canShowDialogs())
        return PvConsoleAlert(request);
    std::unique_ptr<QMessageBox> box(PvCreateAlertBox(request));
    return PvExecAlertBox(box.get(), request.timeoutSeconds);
}

void PvInstallDialogAlert()
{
    PvSetAlertHandler(PvDialogAlert);
}

// Runs at QCoreApplication construction (or at once when one already exists).
static void pvInstallDialogAlertAtStartup()
{
    PvInstallDialogAlert();
}
Q_COREAPP_STARTUP_FUNCTION(pvInstallDialogAlertAtStartup)
