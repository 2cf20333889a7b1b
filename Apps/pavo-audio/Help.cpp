// The manual pages printed by --help.
#include "Tool.h"

namespace pavoaudio {

namespace {

const char* const kTool = R"TXT(NAME
    pavo-audio - look at, tag, convert and sort audio files and loop libraries

SYNOPSIS
    pavo-audio COMMAND [OPTIONS] ARGUMENTS...
    pavo-audio help [COMMAND]
    pavo-audio COMMAND --help
    pavo-audio --version

DESCRIPTION
    Works on linear PCM audio files in the AIFF, AIFC, WAVE (also RF64), CAF and
    Sound Designer II containers, which are recognised by their content, not by their
    names. Samples are moved as 32-bit floats; metadata chunks (the loop tagging
    chunk 'basc' among them) travel with the audio wherever the target can hold them.

COMMANDS
    info FILE...              format, chunks and tagging of each file
    chunks list|get|set|remove
                              list, extract, add or replace, and remove chunks
    convert IN OUT            write a copy in another container or sample format
    stereo join|split         join split stereo halves (Pad.L.aif + Pad.R.aif) into
                              one two-channel file, or split one into halves
    scan FOLDER...            report every audio file of a folder tree, pair the
                              stereo halves and add up counts and durations
    crc FILE...               CRC-32 of each file's bytes

SAFETY
    No existing file is overwritten unless --force is given; stereo join and split
    pick a unique name ("Pad#1.aif") instead. No command writes to a file that is one
    of its inputs (the same file, also through a link), --force or not. Every new file
    is written under a hidden temporary name in the target's folder and renamed to its
    name only when complete, so an interrupted command never leaves a partial file
    under that name; chunk edits likewise write the new file beside the old one and
    rename it over it. A command killed outright may leave its temporary behind, a
    hidden ".NAME.pvPID-N.part" in the target's folder, which can be deleted.

EXIT STATUS
    0   every file was handled
    1   at least one file failed; the others were still handled, and the end
        says how many failed (and which, when more than one did)
    2   the command line was wrong

    An error names the file, what failed, the system's words for it when it has
    some, and the result code, e.g. "Loop.aif: cannot open: No such file or directory
    (fnfErr -43)". Each failure is reported once as it happens; a batch of several
    items ends with how many failed, and which when more than one did. Control
    characters in names are escaped as sha256sum does ("\n", "\\").

    Without arguments the tool prints a short usage; "help" with an unknown command
    is a usage error.
)TXT";

const char* const kInfo = R"TXT(NAME
    pavo-audio info - show the format, chunks and tagging of audio files

SYNOPSIS
    pavo-audio info [--json] FILE...

DESCRIPTION
    For each FILE prints the container, the sample format (bits, integer or float),
    the byte order of the stored samples, the channel count, the sample rate, the
    number of frames and the duration, every chunk with its size, and whether the
    file is a tagged loop (it carries a 'basc' chunk). The basic tagging record is
    decoded into host order and each field shown under its name in the record
    (value1, value2, words[0] to words[4], values[0] to values[15]) with its byte
    offset and width; what the values mean is up to the applications that tag.

OPTIONS
    --json    print one JSON array with an object per file; a file that cannot be
              read gets an object with "file", "error" and "resultCode"

EXIT STATUS
    0 when every file could be read, 1 otherwise, 2 for a wrong command line.

EXAMPLES
    pavo-audio info Loops/*.aif
    pavo-audio info --json Kick.wav | jq '.[0].frames'
)TXT";

const char* const kChunks = R"TXT(NAME
    pavo-audio chunks - list, extract, add, replace and remove metadata chunks

SYNOPSIS
    pavo-audio chunks list FILE...
    pavo-audio chunks get FILE ID [--index N] [-o OUT [--force]]
    pavo-audio chunks set FILE ID PAYLOAD [--index N] [--force]
    pavo-audio chunks remove FILE ID [--index N]

DESCRIPTION
    A chunk is named by its four-character ID, given as exactly four printable ASCII
    characters ("basc", "ID3 " with its blank) or as 0x followed by exactly eight hex
    digits ("0x62617363"); 0 is no ID. It is also named by its index among the chunks
    of that ID (0 for the first). Sound Designer II files keep their
    chunks as resources.

    list      prints each chunk: ID, index and payload size in bytes.
    get       writes the payload (without chunk header) to standard output, or to OUT.
    set       makes the contents of the file PAYLOAD ("-" for standard input) chunk
              ID #N: a new chunk when the file has N chunks of that ID, a replacement
              of an existing one only with --force.
    remove    removes chunk ID #N.

    The chunks that make up the container itself ('FORM', 'COMM', 'SSND', 'RIFF',
    'fmt ', 'data', 'ds64', 'desc' ...) cannot be got, set or removed. get -o never
    writes over FILE itself, --force or not. Every edit is safe: the new file is written completely
    beside the old one and then renamed over it.

OPTIONS
    --index N      which chunk of that ID (default 0)
    -o, --output OUT
                   get: write the payload to OUT instead of standard output
    --force        get: overwrite OUT; set: replace an existing chunk

EXIT STATUS
    0 on success, 1 when the file or chunk could not be read or written, 2 for a
    wrong command line.

EXAMPLES
    pavo-audio chunks list Pad.aif
    pavo-audio chunks get Pad.aif basc -o pad.basc
    pavo-audio chunks set Bass.wav basc pad.basc
    pavo-audio chunks remove Bass.wav basc
)TXT";

const char* const kConvert = R"TXT(NAME
    pavo-audio convert - write an audio file in another container or sample format

SYNOPSIS
    pavo-audio convert IN OUT [--format aiff|aifc|wave|caf|sd2] [--bits 8|16|24|32]
                              [--float] [--dither] [--force]

DESCRIPTION
    Writes IN as OUT, keeping channels and sample rate. The container is --format, or
    else the one OUT's extension names (.aif/.aiff, .aifc, .wav, .caf, .sd2). The
    sample format is --bits (signed integers) or --float (32-bit float); without them
    the source's is kept (64-bit floats become 32-bit floats). Every chunk of IN that
    the target container can carry is copied; the others are named on standard error.

    Samples move this way:
      same sample format     copied bit for bit, whatever the containers
      integer to more bits   exact (-32768 in 16 bits is 0x800000 in 24 bits)
      integer to fewer bits  truncated (the low bits are cut off); with --dither,
                             triangular dither of one step and rounding instead
      float to integer, integer to float
                             through the framework's converters: full scale clips
                             just short of it (+-1.0 gives 0x7FFFFF00 in 32 bits),
                             32-bit integers keep their top 24 bits
    OUT may not be IN (also through a link). An 8-bit WAVE stores unsigned bytes, the
    other containers signed ones; that is no change of the samples.

OPTIONS
    --format NAME  container of OUT
    --bits N       8, 16, 24 or 32-bit signed integer samples
    --float        32-bit float samples
    --dither       add triangular dither when integer samples get fewer bits
    --force        replace OUT when it exists (never IN)

EXIT STATUS
    0 on success, 1 when reading or writing failed (OUT is then left as it was), 2
    for a wrong command line.

EXAMPLES
    pavo-audio convert Loop.wav Loop.aif
    pavo-audio convert Loop.aif Loop.caf --float
    pavo-audio convert Take.sd2 Take.wav --bits 24
)TXT";

const char* const kStereo = R"TXT(NAME
    pavo-audio stereo - join split stereo halves, or split stereo files

SYNOPSIS
    pavo-audio stereo join PATH... [-o DIR] [--format F] [--bits N] [--float]
                                   [--dither] [--force]
    pavo-audio stereo split FILE... [--style STYLE] [-o DIR] [--format F] [--bits N]
                                    [--float] [--dither] [--force]

DESCRIPTION
    The halves of a stereo recording kept as two mono files are paired by the naming
    rules of audio files: Pad.L.aif and Pad.R.aif, Kick(L) and Kick(R), Hat-L and
    Hat-R, Vox.L and Vox.R, Bass.wal and Bass.war, Gtr.ail and Gtr.air, Take.L.sd2 and
    Take.R.sd2, Pad.L.wav/.R.wav, Pad.L.caf/.R.caf; the suffixes without an
    extension of their own may be followed by one (Kick(L).wav and Kick(R).wav).
    Letter case does not matter: Kk.l.aif pairs with Kk.r.aif. scan and join pair by
    the same rule, and messages name the partner in the case of the half found.

    join      takes halves (either one of a pair is enough) or folders (every pair in
              them) and writes one interleaved two-channel file per pair, named after
              the halves without their suffix (Pad.L.aif gives Pad.aif). The halves
              must be mono and share a sample rate; a shorter half is padded with
              silence. Halves of different sample formats are joined only when
              --bits or --float says what to write. The chunks of the left half are
              kept.
    split     writes the two channels of each two-channel FILE as mono halves, named
              with the suffixes of --style; the chunks are copied into both. Styles
              without an extension of their own get the container's after the
              suffix (Loop(L).wav), except for Sound Designer II.

    Samples move as for convert (exact between integers, --dither when bits are
    cut). No output may be one of the inputs: splitting Odd.L.caf with --force, which
    would write its left half over it, is refused.

    An output name that is taken gets a number ("Pad#1.aif", "Pad#1.L.aif" with
    "Pad#1.R.aif"); --force replaces existing files instead.

OPTIONS
    -o, --output-dir DIR
                   write into DIR instead of the folder of the input
    --style STYLE  split suffixes: dot (".L.aif"/".R.aif", ".L.wav", ".L.caf",
                   ".L.sd2"; the default), plain (".L.wav"), paren ("(L).wav"), dash
                   ("-L.wav"), short (".ail"/".air" for AIFF, ".wal"/".war" for WAVE)
    --dither       add triangular dither when integer samples get fewer bits
    --format, --bits, --float
                   container and sample format of the new files (as for convert;
                   default: those of the input)
    --force        replace existing files (never an input)

EXIT STATUS
    0 when every pair or file was handled, 1 when one failed (the others are still
    handled), 2 for a wrong command line. Halves without a partner found in a folder
    are skipped with a note; named ones are failures.

EXAMPLES
    pavo-audio stereo join Pad.L.aif
    pavo-audio stereo join Library/Drums -o Joined
    pavo-audio stereo split Loop.wav --style short
)TXT";

const char* const kScan = R"TXT(NAME
    pavo-audio scan - report every audio file of folder trees

SYNOPSIS
    pavo-audio scan FOLDER... [--json] [--jobs N] [--no-progress]

DESCRIPTION
    Walks each FOLDER and everything below it and reads every file on all processor
    cores. Prints one line per audio file (container, sample format, channels, rate,
    duration, whether it is a tagged loop, its chunk IDs) in path order, then the
    stereo pairs found by the naming rules, halves without a partner, and the totals:
    audio files per container, tagged loops, pairs, the summed duration, other audio
    (not readable here), other files, and failures.

    Nothing is skipped silently. A file whose name says audio that the tool does not
    read (MP3, AAC, FLAC, Ogg, Wave64 ...) and whose content is no container it reads
    counts as other audio; a file named as a container it reads (.aif, .wav, .caf,
    .sd2) that does not read is a failure. A folder that cannot be read and a symbolic
    link with an audio name that leads nowhere are failures. Links to folders are not
    followed; devices and pipes count as other files. On a terminal a progress bar
    runs on standard error.

OPTIONS
    --json         print one JSON object with "files", "stereoPairs",
                   "unpairedHalves" and "totals" (with "otherAudio" and "otherFiles")
    --jobs N       use N threads instead of one per core
    --no-progress  no progress bar even on a terminal

EXIT STATUS
    0 when every audio file could be read, 1 otherwise, 2 for a wrong command line.

EXAMPLES
    pavo-audio scan ~/Loops
    pavo-audio scan --json Library | jq .totals
)TXT";

const char* const kCrc = R"TXT(NAME
    pavo-audio crc - checksum files

SYNOPSIS
    pavo-audio crc FILE...

DESCRIPTION
    Prints the framework's CRC-32 (the standard one of zlib and PNG) of all bytes of
    each FILE, as eight hex digits, followed by the size in bytes and the name. A name
    with control characters is escaped as sha256sum does, and its line starts with a
    backslash.

EXIT STATUS
    0 when every file could be read, 1 otherwise, 2 for a wrong command line.

EXAMPLES
    pavo-audio crc Loop.aif Loop.wav
)TXT";

} // namespace

QStringList commandNames()
{
    return {QStringLiteral("info"), QStringLiteral("chunks"), QStringLiteral("convert"),
        QStringLiteral("stereo"), QStringLiteral("scan"), QStringLiteral("crc")};
}

bool hasHelp(const QString& command)
{
    return commandNames().contains(command);
}

void printUsage()
{
    err(QStringLiteral("Usage: pavo-audio COMMAND [OPTIONS] ARGUMENTS...\n"
                       "Commands: %1\n"
                       "Try 'pavo-audio help' or 'pavo-audio help COMMAND'.\n")
            .arg(commandNames().join(QStringLiteral(", "))));
}

void printHelp(const QString& command)
{
    const char* text = kTool;
    if (command == QLatin1String("info"))
        text = kInfo;
    else if (command == QLatin1String("chunks"))
        text = kChunks;
    else if (command == QLatin1String("convert"))
        text = kConvert;
    else if (command == QLatin1String("stereo"))
        text = kStereo;
    else if (command == QLatin1String("scan"))
        text = kScan;
    else if (command == QLatin1String("crc"))
        text = kCrc;
    out(QString::fromUtf8(text));
}

} // namespace pavoaudio
