// Queries about the running system and the hosting application.
//
// Operating-system version text (PVOSVersion):
//   1. "/System/Library/CoreServices/SystemVersion.plist" when it exists (a Mac system
//      folder): "ProductName ProductVersion (Build ProductBuildVersion)".
//   2. Otherwise /etc/os-release (then /usr/lib/os-release) in the same shape: NAME as the
//      product name, VERSION_ID (else VERSION) as the version and the kernel release
//      (uname -r) as the build, e.g. "Debian GNU/Linux 12 (Build 6.1.0-18-amd64)".
//   A missing value prints as "(null)"; when no file can be read the answer is "Unknown".
//
// Application information: the information dictionary is the one the host set with
// PVSetApplicationInfo, laid over what Qt knows (CFBundleName from
// QCoreApplication::applicationName, CFBundleShortVersionString from applicationVersion).
//
// The major OS version is the leading number of the kernel release, as the thresholds of
// the isXOrNewer functions expect of a Darwin kernel (6 = Mac OS X 10.2 ... 9 = 10.5). On
// Linux they compare the Linux kernel's major number with the same thresholds.
// Everything here is meant for the main thread.
#pragma once

#include <QString>
#include <QVariantMap>

/// The operating-system version text (see above), or "Unknown".
QString PVOSVersion();
/// The same rule on given files, for tests and tools: `kernelRelease` is the build text
/// used with an os-release file.
QString PVOSVersionFromFiles(
    const QString& systemVersionPlist, const QStringList& osReleaseFiles, const QString& kernelRelease);

/// "CFBundleName" of the information dictionary, else the process name, else "".
QString PVApplicationName();
/// "short(version) build", "short(version)" or "short" from CFBundleShortVersionString,
/// CFBundleVersion and ProductBuildVersion; "?.??" without a short version.
QString PVApplicationVersion();
/// Sets the host's information dictionary (keys such as "CFBundleName",
/// "CFBundleShortVersionString", "CFBundleVersion", "ProductBuildVersion").
void PVSetApplicationInfo(const QVariantMap& info);
/// The effective information dictionary; empty when there is neither an application
/// object nor host information.
QVariantMap PVApplicationInfo();

extern "C" {
/// Leading decimal number of the kernel release, computed once and cached.
int majorOSVersion(void);
bool isJaguarOrNewer(void); ///< majorOSVersion() > 5
bool isPantherOrNewer(void); ///< majorOSVersion() > 6
bool isTigerOrNewer(void); ///< majorOSVersion() > 7
bool isLeopardOrNewer(void); ///< majorOSVersion() > 8
/// True when the application object is (or derives from) a class named "NSProApplication".
bool isRunningAsProApp(void);
/// Replaces the kernel release that majorOSVersion reads (null: ask uname again) and
/// clears the cached value. For tests and for hosts that emulate another system.
void PVSetKernelRelease(const char* release);
}
