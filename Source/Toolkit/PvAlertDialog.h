// The Qt dialog behind the framework's alerts (assertions and exception reports).
//
// PavoUI installs it as the alert handler (PvSetAlertHandler) as soon as a
// QCoreApplication exists. It shows a QMessageBox when the application is a QApplication
// on a platform with a display and the call comes from the main thread; otherwise it
// falls back to the text alert on standard error. A time-out closes the box and answers
// kPvAlertCancelResponse.
#pragma once

#include "PvPlatformOps.h"

class QMessageBox;

/// Shows `request` in a modal QMessageBox and returns one of PvAlertResponse.
int PvDialogAlert(const PvAlertRequest& request);

/// Builds the message box of a request without showing it; the buttons carry the
/// property "pvAlertResponse" with their response code. The caller owns the box.
QMessageBox* PvCreateAlertBox(const PvAlertRequest& request);

/// Runs a box made by PvCreateAlertBox modally, closing it after `timeoutSeconds` (0: no
/// time-out), and returns the response of the clicked button, or kPvAlertCancelResponse
/// after a time-out or when the box was closed without a button.
int PvExecAlertBox(QMessageBox* box, double timeoutSeconds);

/// Installs PvDialogAlert as the alert handler; PavoUI calls this at application start.
void PvInstallDialogAlert();
