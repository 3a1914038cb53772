// SPDX-License-Identifier: MIT
#include "tests/unit/FlipFixture.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using Attribute = MemoryAccessibility::Attribute;

const QString selectedText = QStringLiteral("AXSelectedText");
const QString value = QStringLiteral("AXValue");
const QString hello = QStringLiteral("hello");
const QString helloInArabic = QStringLiteral("\u0627\u062B\u0643\u0643\u062E");

TEST(AccessibilityFlip, EachOutcomeHasItsLineAndTouchesOnlyItsAttribute) {
    struct Case {
        const char* name;
        QHash<QString, Attribute> attributes;
        FlipMode mode;
        std::string line;
        bool converted;
        QStringList asked; ///< Of the focused element.
    };
    const Attribute unreadable{hello, AXError::cannotComplete};
    const Attribute unwritable{hello, AXError::success, AXError::failure};
    const Attribute empty{QString()};
    const QString copySelected = QStringLiteral("copy AXSelectedText");
    const QString copyValue = QStringLiteral("copy AXValue");
    const QString setSelected = QStringLiteral("set AXSelectedText");
    const QString setValue = QStringLiteral("set AXValue");
    const Case cases[] = {
        {"selection",
         {{selectedText, {hello}}, {value, {QStringLiteral("hello world")}}},
         FlipMode::auto_,
         "  AX set selected: OK",
         true,
         {copySelected, setSelected}},
        {"selection of Arabic",
         {{selectedText, {helloInArabic}}},
         FlipMode::forceEnglish,
         "  AX set selected: OK",
         true,
         {copySelected, setSelected}},
        {"selection not written",
         {{selectedText, unwritable}, {value, {hello}}},
         FlipMode::auto_,
         "  AX set selected: FAIL",
         false,
         {copySelected, setSelected}},
        {"selection of digits",
         {{selectedText, {QStringLiteral("123")}}, {value, {hello}}},
         FlipMode::auto_,
         "  Same after convert",
         false,
         {copySelected}},
        {"selection already Arabic",
         {{selectedText, {helloInArabic}}, {value, {hello}}},
         FlipMode::forceArabic,
         "  Same after convert",
         false,
         {copySelected}},
        {"no selection",
         {{selectedText, empty}, {value, {hello}}},
         FlipMode::auto_,
         "  AX set value: OK",
         true,
         {copySelected, copyValue, setValue}},
        {"selection unreadable",
         {{selectedText, unreadable}, {value, {hello}}},
         FlipMode::auto_,
         "  AX set value: OK",
         true,
         {copySelected, copyValue, setValue}},
        {"selection missing, value not written",
         {{value, unwritable}},
         FlipMode::auto_,
         "  AX set value: FAIL",
         false,
         {copySelected, copyValue, setValue}},
        {"selection no string, value of digits",
         {{selectedText, {12}}, {value, {QStringLiteral("123")}}},
         FlipMode::auto_,
         "  Same after convert",
         false,
         {copySelected, copyValue}},
        {"value a number",
         {{value, {0.5}}},
         FlipMode::auto_,
         "  No text attributes",
         false,
         {copySelected, copyValue}},
        {"bytes and nothing at all",
         {{selectedText, {QByteArray("hello")}}, {value, {QVariant()}}},
         FlipMode::auto_,
         "  No text attributes",
         false,
         {copySelected, copyValue}},
        {"value unreadable",
         {{selectedText, empty}, {value, unreadable}},
         FlipMode::auto_,
         "  No text attributes",
         false,
         {copySelected, copyValue}},
        {"value empty",
         {{selectedText, empty}, {value, empty}},
         FlipMode::auto_,
         "  No text attributes",
         false,
         {copySelected, copyValue}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FlipFixture f;
        MemoryAccessibility& accessibility = *f.platform.accessibility;
        accessibility.attributes = c.attributes;
        EXPECT_EQ(f.delegate->tryAXFlip(c.mode), c.converted);
        EXPECT_EQ(f.messages(), Messages{c.line});
        EXPECT_EQ(accessibility.journal(),
                  QStringList{QStringLiteral("copy AXFocusedUIElement")} + c.asked);
        for (const QString& attribute : {selectedText, value}) {
            const bool written =
                c.converted && c.asked.contains(QStringLiteral("set ") + attribute);
            const QVariant before = c.attributes[attribute].value;
            const QVariant after = before == hello ? helloInArabic : hello;
            EXPECT_EQ(accessibility.attributes[attribute].value, written ? after : before);
        }
    }
}

TEST(AccessibilityFlip, WithoutTrustOrFocusNoTextIsRead) {
    FlipFixture f;
    f.platform.accessibility->attributes = {{selectedText, {hello}}};
    f.platform.accessibility->focusError = AXError::noValue;
    EXPECT_FALSE(f.delegate->tryAXFlip(FlipMode::auto_));
    f.platform.accessibility->trusted = false;
    EXPECT_FALSE(f.delegate->tryAXFlip(FlipMode::auto_));
    EXPECT_EQ(f.messages(), (Messages{"  No focused element", "  AX not trusted"}));
    EXPECT_EQ(f.platform.accessibility->journal(),
              QStringList{QStringLiteral("copy AXFocusedUIElement")});
}

TEST(AccessibilityFlipDeathTest, AFocusWithoutAnElementEndsTheProcess) {
    FlipFixture f;
    f.platform.accessibility->focused = nullptr;
    EXPECT_DEATH((void)f.delegate->tryAXFlip(FlipMode::auto_), "focused element");
}

} // namespace
} // namespace velmorin
