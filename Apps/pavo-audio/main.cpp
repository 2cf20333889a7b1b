// pavo-audio: the command-line tool for audio files and loop libraries.
#include "Commands.h"
#include "Tool.h"

#include <QCoreApplication>

using namespace pavoaudio;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    if (args.isEmpty()) {
        printUsage();
        return kExitUsage;
    }
    const QString command = args.takeFirst();
    if (command == QLatin1String("--help") || command == QLatin1String("-h")) {
        printHelp(QString());
        return kExitOK;
    }
    if (command == QLatin1String("--version")) {
        out(QStringLiteral("pavo-audio (Pavo %1)\n").arg(PavoVersionNumber, 0, 'f', 1));
        return kExitOK;
    }
    if (command == QLatin1String("help")) {
        if (args.size() > 1 || (!args.isEmpty() && !hasHelp(args.at(0))))
            return usageError(QString(),
                QStringLiteral("no help for '%1'; the commands are %2")
                    .arg(args.join(QLatin1Char(' ')), commandNames().join(QStringLiteral(", "))));
        printHelp(args.value(0));
        return kExitOK;
    }
    if (command == QLatin1String("info"))
        return runInfo(args);
    if (command == QLatin1String("chunks"))
        return runChunks(args);
    if (command == QLatin1String("convert"))
        return runConvert(args);
    if (command == QLatin1String("stereo"))
        return runStereo(args);
    if (command == QLatin1String("scan"))
        return runScan(args);
    if (command == QLatin1String("crc"))
        return runCrc(args);
    return usageError(QString(), QStringLiteral("unknown command '%1'").arg(command));
}
