// pavo-gallery: shows the framework's controls and views with live settings.
#include "DemoImageProvider.h"
#include "GalleryPages.h"

#include <Pavo/PavoCore.h>

#include <QApplication>
#include <QStyleFactory>

#include <cstdio>
#include <cstring>

#ifdef PAVO_GALLERY_HAVE_XCB
#include <xcb/xcb.h>
#endif

namespace {

void printUsage()
{
    std::puts("usage: pavo-gallery [--page NAME] [--dark]\n"
              "       pavo-gallery --list-pages | --help | --version\n\n"
              "Shows every control and view of the Pavo toolkit on a page of its own, with\n"
              "settings to change them while they run, in a light or a dark palette.\n\n"
              "  --page NAME    open at the page NAME (see --list-pages; case does not matter)\n"
              "  --dark         start in the dark palette\n"
              "  --list-pages   print the page names, one a line\n"
              "  --help         print this text\n"
              "  --version      print the framework version\n\n"
              "The gallery needs a display (X11 or Wayland). Exit status: 0, or 2 for a wrong\n"
              "command line or no display.");
}

// Whether the X server named by DISPLAY answers; true when that cannot be tried here.
bool xDisplayAnswers()
{
#ifdef PAVO_GALLERY_HAVE_XCB
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool ok = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return ok;
#else
    return true;
#endif
}

int usageError(const QString& message)
{
    std::fprintf(stderr, "pavo-gallery: %s\nTry 'pavo-gallery --help'.\n", message.toLocal8Bit().constData());
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QString page;
    bool dark = false;
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0) {
            printUsage();
            return 0;
        }
        if (std::strcmp(arg, "--version") == 0) {
            std::printf("pavo-gallery (Pavo %.1f)\n", PavoVersionNumber);
            return 0;
        }
        if (std::strcmp(arg, "--list-pages") == 0) {
            for (const QString& title : PavoGallery::GalleryWindow::pageTitles())
                std::puts(title.toLocal8Bit().constData());
            return 0;
        }
        if (std::strcmp(arg, "--dark") == 0) {
            dark = true;
        } else if (std::strcmp(arg, "--page") == 0 || std::strncmp(arg, "--page=", 7) == 0) {
            if (arg[6] == '=')
                page = QString::fromLocal8Bit(arg + 7);
            else if (i + 1 < argc)
                page = QString::fromLocal8Bit(argv[++i]);
            else
                return usageError(QStringLiteral("--page needs a page name"));
            const QStringList titles = PavoGallery::GalleryWindow::pageTitles();
            if (!titles.contains(page, Qt::CaseInsensitive))
                return usageError(QStringLiteral("no page named '%1'; the pages are: %2")
                                      .arg(page, titles.join(QStringLiteral(", "))));
        } else {
            return usageError(QStringLiteral("unknown argument '%1'").arg(QString::fromLocal8Bit(arg)));
        }
    }
    // Qt would abort without a display; say what is missing instead. A platform chosen
    // explicitly (QT_QPA_PLATFORM=offscreen, for instance) is left to Qt.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        std::fputs("pavo-gallery: no display: neither DISPLAY nor WAYLAND_DISPLAY is set.\n"
                   "Start it in a graphical session (or under xvfb-run).\n",
            stderr);
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")
        && !xDisplayAnswers()) {
        std::fprintf(stderr, "pavo-gallery: no display: the X server at DISPLAY=%s does not answer.\n",
            qgetenv("DISPLAY").constData());
        return 2;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName("pavo-gallery");
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    PvResourceProvider::setDefaultResourceProviderClass<PavoGallery::DemoImageProvider>();
    PavoGallery::GalleryWindow window;
    window.resize(980, 640);
    if (!page.isEmpty())
        window.showPage(page);
    window.setDark(dark);
    window.show();
    return QApplication::exec();
}
