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

/// A line of the log, and what the focused element was asked for until then.
struct Outcome {
    std::string line;
    QStringList asked;
};
const QString copySelected = QStringLiteral("copy AXSelectedText");
const QString copyValue = QStringLiteral("copy AXValue");
const QString setSelected = QStringLiteral("set AXSelectedText");
const QString setValue = QStringLiteral("set AXValue");
const Outcome selectedOk{"  AX set selected: OK", {copySelected, setSelected}};
const Outcome selectedFail{"  AX set selected: FAIL", {copySelected, setSelected}};
const Outcome selectedSame{"  Same after convert", {copySelected}};
const Outcome valueOk{"  AX set value: OK", {copySelected, copyValue, setValue}};
const Outcome valueFail{"  AX set value: FAIL", {copySelected, copyValue, setValue}};
const Outcome valueSame{"  Same after convert", {copySelected, copyValue}};
const Outcome neither{"  No text attributes", {copySelected, copyValue}};

TEST(AccessibilityFlip, EachOutcomeHasItsLineAndTouchesOnlyItsAttribute) {
    const Attribute digits{QStringLiteral("123")};
    const Attribute unreadable{hello, AXError::cannotComplete};
    const Attribute unwritable{hello, AXError::success, AXError::failure};
    const Attribute empty{QString()};
    const Attribute missing{{}, AXError::attributeUnsupported};
    const struct {
        Attribute selectedText;
        Attribute value;
        Outcome outcome;
        FlipMode mode = FlipMode::auto_;
    } cases[] = {
        {{hello}, {QStringLiteral("hello world")}, selectedOk},
        {{helloInArabic}, missing, selectedOk, FlipMode::forceEnglish},
        {unwritable, {hello}, selectedFail},
        {digits, {hello}, selectedSame},
        {{helloInArabic}, {hello}, selectedSame, FlipMode::forceArabic},
        {empty, {hello}, valueOk},
        {unreadable, {hello}, valueOk},
        {missing, unwritable, valueFail},
        {{12}, digits, valueSame},
        {missing, {0.5}, neither},
        {{QByteArray("hello")}, {QVariant()}, neither},
        {empty, unreadable, neither},
        {empty, empty, neither},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        FlipFixture f;
        MemoryAccessibility& accessibility = *f.platform.accessibility;
        accessibility.attributes = {{selectedText, c.selectedText}, {value, c.value}};
        const bool isDone = c.outcome.line.ends_with("OK");
        EXPECT_EQ(f.delegate->tryAXFlip(c.mode), isDone);
        EXPECT_EQ(f.messages(), Messages{c.outcome.line});
        EXPECT_EQ(accessibility.journal(),
                  QStringList{QStringLiteral("copy AXFocusedUIElement")} + c.outcome.asked);
        for (const auto& [attribute, before] :
             {std::pair(selectedText, c.selectedText.value), std::pair(value, c.value.value)}) {
            const bool isWritten =
                isDone && c.outcome.asked.contains(QStringLiteral("set ") + attribute);
            const QVariant after = before == hello ? helloInArabic : hello;
            EXPECT_EQ(accessibility.attributes[attribute].value, isWritten ? after : before);
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
