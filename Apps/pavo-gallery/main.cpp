// pavo-gallery: shows the framework's controls and views with live settings.
#include "DemoImageProvider.h"
#include "GalleryPages.h"

#include <QApplication>
#include <QStyleFactory>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName("pavo-gallery");
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    PvResourceProvider::setDefaultResourceProviderClass<PavoGallery::DemoImageProvider>();
    PavoGallery::GalleryWindow window;
    window.resize(980, 640);
    if (argc > 1)
        window.showPage(QString::fromLocal8Bit(argv[1]));
    window.show();
    return QApplication::exec();
}
