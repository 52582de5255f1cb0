#pragma once

// A control that shows the title of its current entry and pops up a menu of its entries on a
// press. Entries may hold submenus, which are option menus themselves, so a menu is a tree; a
// choice anywhere in it is reported to this control's listener with the menu that held it.

#include "toolkit/cparamdisplay.h"
#include "toolkit/platform/menu.h"

#include <vector>

namespace Plexel
{

class COptionMenu;

class CMenuItem : public CBaseObject
{
public:
    enum : int32_t
    {
        kItemDisabled = 1,
        kItemTitle = 2,
        kItemChecked = 4,
        kItemSeparator = 8,
    };

    CMenuItem(const char* title, int32_t flags = 0, const char* keycode = nullptr, int32_t keyModifiers = 0,
              CBitmap* icon = nullptr);
    CMenuItem(const char* title, COptionMenu* submenu, CBitmap* icon = nullptr);
    CMenuItem(const CMenuItem& other);
    ~CMenuItem() override;
    CMenuItem& operator=(const CMenuItem&) = delete;

    virtual void setTitle(const char* text);
    virtual void setSubmenu(COptionMenu* menu);
    virtual void setKey(const char* keycode, int32_t modifiers = 0);
    virtual void setEnabled(bool state = true);
    virtual void setChecked(bool state = true);
    virtual void setIsTitle(bool state = true);
    virtual void setIsSeparator(bool state = true);
    virtual void setIcon(CBitmap* bitmap);

    const char* title() const { return titleValue; }
    const char* keycode() const { return keycodeValue; }
    int32_t keyModifiers() const { return keyModifiersValue; }
    COptionMenu* submenu() const { return submenuValue; }
    CBitmap* icon() const { return iconValue; }
    int32_t flags() const { return flagsValue; }
    bool isEnabled() const { return !(flagsValue & kItemDisabled); }
    bool isChecked() const { return flagsValue & kItemChecked; }
    bool isTitle() const { return flagsValue & kItemTitle; }
    bool isSeparator() const { return flagsValue & kItemSeparator; }

private:
    void setFlag(int32_t bit, bool state);

    char* titleValue = nullptr;
    char* keycodeValue = nullptr;
    COptionMenu* submenuValue = nullptr;
    CBitmap* iconValue = nullptr;
    int32_t flagsValue = 0;
    int32_t keyModifiersValue = 0;
};

class COptionMenu : public CParamDisplay
{
public:
    COptionMenu(const CRect& size, CControlListener* listener = nullptr, int32_t tag = 0,
                CBitmap* background = nullptr, CBitmap* pressedBackground = nullptr, int32_t style = 0);
    COptionMenu(const COptionMenu& other);
    ~COptionMenu() override;

    // The title "-" makes a separator.
    virtual CMenuItem* addEntry(const char* title, int32_t index = -1, int32_t flags = 0);
    virtual CMenuItem* addEntry(COptionMenu* submenu, const char* title);
    // Takes over one reference of item; index -1 appends.
    virtual CMenuItem* addEntry(CMenuItem* item, int32_t index = -1);
    virtual CMenuItem* addSeparator();
    virtual CMenuItem* currentEntry() const;
    virtual int32_t currentEntryIndex(bool countSeparators = true) const;
    // A negative index gives the first entry, so that a menu with no current entry shows it.
    virtual CMenuItem* entryAt(int32_t index) const;
    virtual int32_t entryCount() const { return int32_t(entries.size()); }
    virtual bool setCurrent(int32_t index, bool countSeparators = true);
    virtual bool removeEntry(int32_t index);
    virtual bool removeAllEntries();
    virtual bool checkEntry(int32_t index, bool state);
    virtual bool checkEntryAlone(int32_t index);
    virtual bool isCheckedEntry(int32_t index) const;
    virtual void setEntriesPerColumn(int32_t count) { entriesPerColumn = count; }
    virtual int32_t entriesPerColumnCount() const { return entriesPerColumn; }
    // 0 and 1 number nothing; 2 to 4 put the position in front with that many characters.
    virtual void setPrefixNumbers(int32_t digits);

    // The menu that held the last choice, with that menu's value in index; null and -1 for none.
    COptionMenu* lastItemMenu(int32_t& index) const;
    COptionMenu* submenuOf(int32_t index) const;
    int32_t lastResult() const { return lastResultValue; }
    int32_t lastButtons() const { return lastButtonsValue; }

    // The popup's entries with identifiers numbered from nextId: a menu takes its whole block
    // before any of its submenus do.
    std::vector<PopupEntry> popupEntries(int32_t& nextId) const;
    // The menu that holds identifier id under the same numbering, with the entry's index there.
    COptionMenu* menuOfId(int32_t id, int32_t& counter, int32_t& index);

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    void onFocusLost() override;
    void onFocusTaken() override;
    void setValue(float newValue) override;
    CView* clone() const override;
    bool isTypeOf(const char* name) const override;

private:
    std::string entryText(const CMenuItem* item, int32_t position) const;

    std::vector<CMenuItem*> entries;
    int32_t currentIndex = -1;
    CBitmap* pressedBackground;
    int32_t lastButtonsValue = kButtonRight;
    int32_t entriesPerColumn = -1;
    int32_t lastResultValue = -1;
    int32_t prefixDigits = 0;
    COptionMenu* lastMenu = nullptr;
    // The popup is running: it is what focus loss ends.
    bool popupOpen = false;
};

} // namespace Plexel
