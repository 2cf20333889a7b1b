#include <Pavo/PavoUI.h>

#include "TestSupport.h"

#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <limits>

namespace {

QString format(int32_t style, const QVariant& value)
{
    PVMIDIFormatter f;
    f.setNoteStyle(style);
    return f.stringForObjectValue(value);
}

} // namespace

TEST(MIDIFormatter, StartsDecimalAndKeepsAnyStyle)
{
    PVMIDIFormatter f;
    EXPECT_EQ(f.noteStyle(), 0);
    EXPECT_EQ(f.stringForObjectValue(64), "64");
    EXPECT_EQ(f.stringForObjectValue(-7), "-7");
    f.setNoteStyle(7);
    EXPECT_EQ(f.noteStyle(), 7);
    EXPECT_EQ(f.stringForObjectValue(64), "");
    EXPECT_FALSE(f.stringForObjectValue(64).isNull());
    EXPECT_EQ(format(-1, 5), "");
}

TEST(MIDIFormatter, SignedStyle)
{
    EXPECT_EQ(format(1, 0), QString(QChar(0x00B1)) + " 0");
    EXPECT_EQ(format(1, 5), "+5");
    EXPECT_EQ(format(1, -3), "-3");
    EXPECT_EQ(format(1, std::numeric_limits<int32_t>::min()), "-2147483648");
}

TEST(MIDIFormatter, HexadecimalSplitsAtFourteen)
{
    EXPECT_EQ(format(2, 0), "0x00");
    EXPECT_EQ(format(2, 14), "0x0E");
    EXPECT_EQ(format(2, 15), "0x F");
    EXPECT_EQ(format(2, 16), "0x10");
    EXPECT_EQ(format(2, 127), "0x7F");
    EXPECT_EQ(format(2, 300), "0x12C");
    EXPECT_EQ(format(2, -1), "0x0FFFFFFFF");
}

TEST(MIDIFormatter, NoteNamesWithMiddleCAtOctaveThree)
{
    EXPECT_EQ(format(3, 60), "C3");
    EXPECT_EQ(format(3, 11), "B-2");
    EXPECT_EQ(format(3, 0), "C-2");
    EXPECT_EQ(format(3, 127), "G8");
    const char* sharps[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(format(3, 72 + i), QString::fromLatin1(sharps[i]) + "4") << i;
    // Negative notes name no note but still give their octave number.
    EXPECT_EQ(format(3, -12), "C-3");
    EXPECT_EQ(format(3, -1), "-2");
    EXPECT_EQ(format(3, -13), "-3");
    EXPECT_EQ(format(3, std::numeric_limits<int32_t>::min()), "-178956972");
}

TEST(MIDIFormatter, OnlyNumbersFormat)
{
    EXPECT_EQ(format(0, QVariant()), "");
    EXPECT_EQ(format(0, QVariant(QMetaType::fromType<int>())), "");
    EXPECT_EQ(format(0, QStringLiteral("12")), "");
    EXPECT_EQ(format(0, QVariantList {1}), "");
    EXPECT_EQ(format(0, std::numeric_limits<double>::quiet_NaN()), "");
    EXPECT_EQ(format(0, std::numeric_limits<double>::infinity()), "");
    EXPECT_EQ(format(0, true), "1");
    EXPECT_EQ(format(0, 64.9), "64");
    EXPECT_EQ(format(0, -64.9f), "-64");
    EXPECT_EQ(format(0, 1e12), "2147483647");
    EXPECT_EQ(format(3, static_cast<unsigned char>(60)), "C3");
    EXPECT_EQ(format(0, static_cast<qulonglong>(0x100000005ULL)), "5");
    EXPECT_EQ(format(0, static_cast<qlonglong>(-2)), "-2");
}

TEST(MIDIFormatter, SpinBoxShowsAndAcceptsFormattedTexts)
{
    PvMIDISpinBox box;
    EXPECT_EQ(box.minimum(), 0);
    EXPECT_EQ(box.maximum(), 127);
    box.setValue(61);
    EXPECT_EQ(box.text(), "61");
    box.setNoteStyle(3);
    EXPECT_EQ(box.text(), "C#3");
    box.setNoteStyle(2);
    box.setValue(15);
    EXPECT_EQ(box.text(), "0x F");

    EXPECT_EQ(box.valueForText("0x7f"), 127);
    EXPECT_EQ(box.valueForText(" 0x F "), 15);
    EXPECT_EQ(box.valueForText("0x80"), std::nullopt); // outside the range

    QLineEdit* edit = box.findChild<QLineEdit*>();
    ASSERT_NE(edit, nullptr);

    // Typing goes through validate(): a note name enters its number.
    box.setNoteStyle(3);
    box.show();
    edit->selectAll();
    QTest::keyClicks(edit, "d#4");
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(box.value(), 75);
    EXPECT_EQ(box.text(), "D#4");
    // Text that no value has is refused while typing.
    edit->selectAll();
    QTest::keyClicks(edit, "H");
    EXPECT_EQ(edit->text(), "D#4");

    box.setNoteStyle(1);
    box.setRange(-12, 12);
    box.setValue(0);
    EXPECT_EQ(box.text(), QString(QChar(0x00B1)) + " 0");
    box.stepBy(1);
    EXPECT_EQ(box.text(), "+1");
}

TEST(MIDIFormatter, SpinBoxRendersEveryStyle)
{
    QWidget panel;
    auto* layout = new QVBoxLayout(&panel);
    const int values[4] = {100, -5, 15, 61};
    for (int style = 0; style < 4; ++style) {
        auto* box = new PvMIDISpinBox(&panel);
        box->setRange(-64, 127);
        box->setNoteStyle(style);
        box->setValue(values[style]);
        layout->addWidget(box);
    }
    panel.resize(160, 150);
    const QImage image = panel.grab().toImage();
    EXPECT_FALSE(image.isNull());
    EXPECT_TRUE(image.save(PavoTest::outputDir() + "/PvMIDISpinBox.png"));
    const auto boxes = panel.findChildren<PvMIDISpinBox*>();
    ASSERT_EQ(boxes.size(), 4);
    EXPECT_EQ(boxes[3]->text(), "C#3");
    // The box is wide enough for its widest text in the style.
    EXPECT_GE(boxes[2]->sizeHint().width(), boxes[2]->fontMetrics().horizontalAdvance("0x7F"));
}
