// The option menu's entries and the popup it describes, and the text edit's text, without a
// window: what a native popup is given and what its answer changes.

#include "control_helpers.h"
#include "toolkit/coptionmenu.h"
#include "toolkit/ctextedit.h"

#include <gtest/gtest.h>

#include <string>

using namespace toolkit_test;

namespace
{
COptionMenu* menuOf(std::initializer_list<const char*> titles, int32_t style = 0)
{
    auto* menu = new COptionMenu(CRect(0, 0, 80, 20), nullptr, 0, nullptr, nullptr, style);
    for (const char* t : titles)
        menu->addEntry(t);
    return menu;
}
} // namespace

TEST(OptionMenuTest, CurrentEntryCountsOrSkipsSeparators)
{
    COptionMenu* empty = menuOf({});
    EXPECT_EQ(empty->currentEntry(), nullptr);
    EXPECT_FALSE(empty->setCurrent(0));
    empty->setValue(0.f); // no entry: nothing happens
    EXPECT_EQ(empty->currentEntryIndex(), -1);
    empty->release();

    COptionMenu* menu = menuOf({"A", "-", "B"});
    EXPECT_EQ(menu->currentEntryIndex(), -1);
    ASSERT_NE(menu->currentEntry(), nullptr);
    EXPECT_STREQ(menu->currentEntry()->title(), "A"); // no current entry shows the first
    EXPECT_TRUE(menu->entryAt(1)->isSeparator());
    EXPECT_EQ(menu->entryAt(3), nullptr);

    EXPECT_FALSE(menu->setCurrent(1, true)); // a separator
    EXPECT_TRUE(menu->setCurrent(1, false));
    EXPECT_EQ(menu->currentEntryIndex(true), 2);
    EXPECT_EQ(menu->currentEntryIndex(false), 1);
    EXPECT_STREQ(menu->currentEntry()->title(), "B");

    menu->addEntry("first", 0);
    EXPECT_STREQ(menu->entryAt(0)->title(), "first");
    EXPECT_TRUE(menu->removeEntry(0));
    EXPECT_FALSE(menu->removeEntry(3));
    menu->setValue(7.f); // out of range
    EXPECT_EQ(menu->currentEntryIndex(), 2);
    menu->setValue(0.f);
    EXPECT_EQ(menu->currentEntryIndex(), 0);

    // A copy holds the same entries, with references of its own, and starts with no choice.
    auto* copy = static_cast<COptionMenu*>(menu->clone());
    EXPECT_EQ(copy->entryAt(2), menu->entryAt(2));
    EXPECT_EQ(copy->currentEntryIndex(), -1);
    EXPECT_EQ(copy->lastButtons(), 0);
    menu->release();
    EXPECT_STREQ(copy->entryAt(2)->title(), "B");
    int32_t index = 0;
    EXPECT_EQ(copy->lastItemMenu(index), nullptr);
    EXPECT_EQ(index, -1);
    copy->release();
}

TEST(OptionMenuTest, PopupNumbersEachMenuBeforeItsSubmenus)
{
    COptionMenu* sub = menuOf({"x", "y"});
    COptionMenu* menu = menuOf({"A"}, kStyleCheckCurrent);
    menu->addEntry(sub, "More");
    menu->addEntry("C", -1, CMenuItem::kItemDisabled | CMenuItem::kItemChecked);
    menu->addEntry("T", -1, CMenuItem::kItemTitle);
    menu->checkEntry(0, true);
    menu->setCurrent(0);

    int32_t nextId = 0;
    const std::vector<PopupEntry> popup = menu->popupEntries(nextId);
    EXPECT_EQ(nextId, 6);
    ASSERT_EQ(popup.size(), 4u);
    EXPECT_EQ(popup[0].id, 0);
    EXPECT_TRUE(popup[0].checked); // checked and current
    EXPECT_EQ(popup[1].id, -1);
    ASSERT_TRUE(popup[1].hasSubmenu);
    EXPECT_EQ(popup[1].text, "More");
    EXPECT_EQ(popup[1].submenu[0].id, 4);
    EXPECT_EQ(popup[1].submenu[1].id, 5);
    EXPECT_TRUE(popup[2].disabled);
    EXPECT_FALSE(popup[2].checked); // checked, but not current
    EXPECT_TRUE(popup[3].title);

    // The answer leads back to the menu that holds the entry.
    int32_t counter = 0, index = -1;
    EXPECT_EQ(menu->menuOfId(5, counter, index), sub);
    EXPECT_EQ(index, 1);
    counter = 0;
    EXPECT_EQ(menu->menuOfId(2, counter, index), menu);
    EXPECT_EQ(index, 2);
    counter = 0;
    EXPECT_EQ(menu->menuOfId(6, counter, index), nullptr);
    EXPECT_EQ(menu->submenuOf(1), sub);
    EXPECT_EQ(menu->submenuOf(9), nullptr);
    sub->release();
    menu->release();
}

TEST(OptionMenuTest, ColumnsPrefixesAndChecks)
{
    COptionMenu* menu = menuOf({});
    for (int i = 0; i < 25; ++i)
    {
        char title[16];
        std::snprintf(title, sizeof title, "e%d", i);
        menu->addEntry(title);
    }
    menu->setEntriesPerColumn(10);
    menu->setPrefixNumbers(3);
    menu->setPrefixNumbers(7); // ignored
    int32_t nextId = 0;
    std::vector<PopupEntry> popup = menu->popupEntries(nextId);
    for (size_t p = 0; p < popup.size(); ++p)
        EXPECT_EQ(popup[p].columnBreak, p == 10 || p == 20) << p;
    EXPECT_EQ(popup[0].text, "01 e0");
    EXPECT_EQ(popup[24].text, "25 e24");

    // A huge menu breaks no columns of its own.
    for (int i = 25; i < 5000; ++i)
        menu->addEntry("e");
    nextId = 0;
    popup = menu->popupEntries(nextId);
    EXPECT_EQ(nextId, 5000);
    for (const PopupEntry& e : popup)
        EXPECT_FALSE(e.columnBreak);
    menu->release();

    COptionMenu* checks = menuOf({"a", "b"}, kStyleCheck);
    checks->setValue(1.f);
    EXPECT_TRUE(checks->isCheckedEntry(1));
    checks->setValue(1.f);
    EXPECT_FALSE(checks->isCheckedEntry(1)); // each choice toggles
    checks->checkEntry(0, true);
    checks->checkEntryAlone(1);
    EXPECT_FALSE(checks->isCheckedEntry(0));
    EXPECT_TRUE(checks->isCheckedEntry(1));
    EXPECT_FALSE(checks->checkEntry(5, true));
    checks->release();
}

TEST(OptionMenuTest, PressesThatOpenNoPopup)
{
    ControlBench bench;
    auto* menu = new COptionMenu(CRect(10, 10, 90, 30), &bench.listener, 1);
    bench.frame->addView(menu);
    EXPECT_EQ(bench.press(20, 20, kButtonMiddle), kMouseNotHandled);
    EXPECT_EQ(menu->lastButtons(), kButtonMiddle);
    // With no entries the popup shows nothing and nothing is chosen: the edit is still closed.
    EXPECT_EQ(bench.press(20, 20, kButtonLeft), kMouseHandledOnce);
    EXPECT_EQ(menu->lastResult(), -1);
    const Log log = bench.take();
    EXPECT_EQ(log, (Log{"begin", "host begin 1", "host end 1", "end"}));
}

TEST(TextEditTest, TextIsCutAtACharacterAndSetOnlyWhenItChanges)
{
    auto* edit = new CTextEdit(CRect(0, 0, 80, 20), nullptr, 0, "abc");
    EXPECT_TRUE(edit->wantsFocus());
    edit->setDirty(false);
    edit->setText("abc");
    EXPECT_FALSE(edit->isDirty());
    edit->setText(nullptr);
    EXPECT_STREQ(edit->textOf(), "");
    EXPECT_TRUE(edit->isDirty());

    // 127 two-byte characters and one more: the last would cross 255 bytes and is left out.
    std::string longText;
    for (int i = 0; i < 128; ++i)
        longText += "\xC3\xA9";
    edit->setText(longText.c_str());
    EXPECT_EQ(std::string(edit->textOf()), longText.substr(0, 254));
    EXPECT_EQ(cutUtf8("ab\xE2\x82\xAC", 5, 4), 2u);
    EXPECT_EQ(cutUtf8("abc", 3, 255), 3u);

    CPoint where(5, 5);
    EXPECT_EQ(edit->onMouseDown(where, kButtonRight), kMouseNotHandled);
    edit->setStyle(kStyleDoubleClickEdit);
    EXPECT_EQ(edit->onMouseDown(where, kButtonLeft), kMouseNotHandled);
    EXPECT_FALSE(edit->isEditing());
    edit->release();
}
