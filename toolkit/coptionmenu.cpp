#include "toolkit/coptionmenu.h"

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"
#include "toolkit/platform/draw.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace Plexel
{

namespace
{
char* copyOf(const char* text)
{
    if (!text) return nullptr;
    const size_t length = std::strlen(text);
    char* copy = new char[length + 1];
    std::memcpy(copy, text, length + 1);
    return copy;
}

// The native menus break columns only for menus small enough to show them; past this many
// entries the platform scrolls instead.
constexpr int32_t kMaxEntriesForColumns = 160;
} // namespace

CMenuItem::CMenuItem(const char* title, int32_t flags, const char* keycode, int32_t keyModifiers,
                     CBitmap* icon)
    : flagsValue(flags)
{
    setTitle(title);
    setKey(keycode, keyModifiers);
    setIcon(icon);
}

CMenuItem::CMenuItem(const char* title, COptionMenu* submenu, CBitmap* icon)
{
    setTitle(title);
    setSubmenu(submenu);
    setIcon(icon);
}

CMenuItem::CMenuItem(const CMenuItem& other) : CBaseObject(), flagsValue(other.flagsValue)
{
    setTitle(other.titleValue);
    setKey(other.keycodeValue, other.keyModifiersValue);
    setSubmenu(other.submenuValue);
    setIcon(other.iconValue);
}

CMenuItem::~CMenuItem()
{
    setTitle(nullptr);
    setKey(nullptr, 0);
    setSubmenu(nullptr);
    setIcon(nullptr);
}

void CMenuItem::setTitle(const char* text)
{
    delete[] titleValue;
    titleValue = copyOf(text);
}

void CMenuItem::setSubmenu(COptionMenu* menu)
{
    if (menu) menu->retain();
    if (submenuValue) submenuValue->release();
    submenuValue = menu;
}

void CMenuItem::setKey(const char* keycode, int32_t modifiers)
{
    delete[] keycodeValue;
    keycodeValue = copyOf(keycode);
    keyModifiersValue = modifiers;
}

void CMenuItem::setFlag(int32_t bit, bool state)
{
    if (state)
        flagsValue |= bit;
    else
        flagsValue &= ~bit;
}

void CMenuItem::setEnabled(bool state)
{
    setFlag(kItemDisabled, !state);
}

void CMenuItem::setChecked(bool state)
{
    setFlag(kItemChecked, state);
}

void CMenuItem::setIsTitle(bool state)
{
    setFlag(kItemTitle, state);
}

void CMenuItem::setIsSeparator(bool state)
{
    setFlag(kItemSeparator, state);
}

void CMenuItem::setIcon(CBitmap* bitmap)
{
    if (bitmap) bitmap->retain();
    if (iconValue) iconValue->release();
    iconValue = bitmap;
}

//------------------------------------------------------------------------------------------------

COptionMenu::COptionMenu(const CRect& rect, CControlListener* listener, int32_t tag, CBitmap* background,
                         CBitmap* pressed, int32_t style)
    : CParamDisplay(rect, background, style), pressedBackground(pressed)
{
    listenerValue = listener;
    tagValue = tag;
    if (pressedBackground) pressedBackground->retain();
}

COptionMenu::COptionMenu(const COptionMenu& other)
    : CParamDisplay(other), entries(other.entries), pressedBackground(other.pressedBackground),
      lastButtonsValue(0), entriesPerColumn(other.entriesPerColumn)
{
    for (CMenuItem* item : entries)
        item->retain();
    if (pressedBackground) pressedBackground->retain();
}

COptionMenu::~COptionMenu()
{
    removeAllEntries();
    if (pressedBackground) pressedBackground->release();
}

CMenuItem* COptionMenu::addEntry(const char* title, int32_t index, int32_t flags)
{
    if (title && std::strcmp(title, "-") == 0) return addSeparator();
    return addEntry(new CMenuItem(title, flags), index);
}

CMenuItem* COptionMenu::addEntry(COptionMenu* submenu, const char* title)
{
    return addEntry(new CMenuItem(title, submenu), -1);
}

CMenuItem* COptionMenu::addEntry(CMenuItem* item, int32_t index)
{
    if (!item) return nullptr;
    if (index < 0 || index >= entryCount())
        entries.push_back(item);
    else
        entries.insert(entries.begin() + index, item);
    return item;
}

CMenuItem* COptionMenu::addSeparator()
{
    return addEntry(new CMenuItem("", CMenuItem::kItemSeparator), -1);
}

CMenuItem* COptionMenu::currentEntry() const
{
    return entryAt(currentIndex);
}

int32_t COptionMenu::currentEntryIndex(bool countSeparators) const
{
    if (countSeparators || currentIndex < 0) return currentIndex;
    int32_t separators = 0;
    for (int32_t i = 0; i <= currentIndex && i < entryCount(); ++i)
        if (entries[size_t(i)]->isSeparator()) ++separators;
    return currentIndex - separators;
}

CMenuItem* COptionMenu::entryAt(int32_t index) const
{
    if (entries.empty() || index >= entryCount()) return nullptr;
    return entries[size_t(index < 0 ? 0 : index)];
}

bool COptionMenu::setCurrent(int32_t index, bool countSeparators)
{
    if (countSeparators)
    {
        CMenuItem* item = entryAt(index);
        if (!item || item->isSeparator()) return false;
        currentIndex = index;
    }
    else
    {
        // The index counts the choosable entries: each separator before it moves it one on.
        for (int32_t i = 0; i <= index && i < entryCount(); ++i)
            if (entries[size_t(i)]->isSeparator()) ++index;
        currentIndex = index;
    }
    if ((styleValue & kStyleCheck) && currentEntry())
        currentEntry()->setChecked(!currentEntry()->isChecked());
    setDirty(true);
    return true;
}

bool COptionMenu::removeEntry(int32_t index)
{
    if (index < 0 || index >= entryCount()) return false;
    CMenuItem* item = entries[size_t(index)];
    entries.erase(entries.begin() + index);
    item->release();
    return true;
}

bool COptionMenu::removeAllEntries()
{
    std::vector<CMenuItem*> old;
    old.swap(entries);
    for (CMenuItem* item : old)
        item->release();
    return true;
}

bool COptionMenu::checkEntry(int32_t index, bool state)
{
    if (index < 0 || index >= entryCount()) return false;
    entries[size_t(index)]->setChecked(state);
    return true;
}

bool COptionMenu::checkEntryAlone(int32_t index)
{
    for (int32_t i = 0; i < entryCount(); ++i)
        entries[size_t(i)]->setChecked(i == index);
    return true;
}

bool COptionMenu::isCheckedEntry(int32_t index) const
{
    return index >= 0 && index < entryCount() && entries[size_t(index)]->isChecked();
}

void COptionMenu::setPrefixNumbers(int32_t digits)
{
    if (digits >= 0 && digits < 5) prefixDigits = digits;
}

COptionMenu* COptionMenu::lastItemMenu(int32_t& index) const
{
    index = lastMenu ? int32_t(lastMenu->value()) : -1;
    return lastMenu;
}

COptionMenu* COptionMenu::submenuOf(int32_t index) const
{
    if (index < 0 || index >= entryCount()) return nullptr;
    return entries[size_t(index)]->submenu();
}

std::string COptionMenu::entryText(const CMenuItem* item, int32_t position) const
{
    const char* title = item->title() ? item->title() : "";
    static const char* const formats[5] = {nullptr, nullptr, "%1d %s", "%02d %s", "%03d %s"};
    if (!formats[prefixDigits]) return title;
    const int length = std::snprintf(nullptr, 0, formats[prefixDigits], position + 1, title);
    std::string text(size_t(length > 0 ? length : 0), '\0');
    std::snprintf(text.data(), text.size() + 1, formats[prefixDigits], position + 1, title);
    return text;
}

std::vector<PopupEntry> COptionMenu::popupEntries(int32_t& nextId) const
{
    const int32_t base = nextId;
    nextId += entryCount();
    std::vector<PopupEntry> out(entries.size());
    for (int32_t p = 0; p < entryCount(); ++p)
    {
        const CMenuItem* item = entries[size_t(p)];
        PopupEntry& entry = out[size_t(p)];
        if (item->isSeparator())
        {
            entry.separator = true;
            continue;
        }
        entry.text = entryText(item, p);
        entry.columnBreak = entryCount() < kMaxEntriesForColumns && entriesPerColumn > 0 && p > 0 &&
                            p % entriesPerColumn == 0;
        entry.icon = item->icon();
        if (item->submenu())
        {
            entry.hasSubmenu = true;
            entry.submenu = item->submenu()->popupEntries(nextId);
            continue;
        }
        entry.id = base + p;
        entry.disabled = item->flags() & CMenuItem::kItemDisabled;
        entry.title = item->isTitle();
        entry.checked = item->isChecked() && ((styleValue & kStyleCheck) ||
                                              ((styleValue & kStyleCheckCurrent) && p == currentIndex));
    }
    return out;
}

COptionMenu* COptionMenu::menuOfId(int32_t id, int32_t& counter, int32_t& index)
{
    const int32_t base = counter;
    counter += entryCount();
    if (id >= base && id < counter)
    {
        index = id - base;
        return this;
    }
    for (CMenuItem* item : entries)
        if (item->submenu())
            if (COptionMenu* menu = item->submenu()->menuOfId(id, counter, index)) return menu;
    return nullptr;
}

void COptionMenu::draw(CDrawContext* context)
{
    const CMenuItem* item = currentEntry();
    CBitmap* back = frameValue && frameValue->focusView() == this ? pressedBackground : nullptr;
    drawText(context, item ? item->title() : nullptr, back);
}

int32_t COptionMenu::onMouseDown(CPoint&, const int32_t& buttons)
{
    lastButtonsValue = buttons;
    if (!(buttons & (kButtonLeft | kButtonRight | kModifierCommand))) return kMouseNotHandled;
    beginEdit();
    if (pressedBackground) invalidate();
    onFocusTaken();
    return kMouseHandledOnce;
}

void COptionMenu::onFocusTaken()
{
    if (!frameValue) return;
    lastMenu = nullptr;
    lastResultValue = -1;
    CPoint origin = nativeWindowScreenPosition(frameValue->nativeWindow());
    for (CView* p = parent; p && p->handleMessage(this, kMsgCheckIfViewContainer) == 1; p = p->parentView())
        origin.offset(p->viewSize().left, p->viewSize().top);

    int32_t nextId = 0;
    const std::vector<PopupEntry> popup = popupEntries(nextId);
    const CPoint at(origin.x + size.left,
                    origin.y + ((styleValue & kStylePopupOver) ? size.top : size.bottom));
    popupOpen = true;
    lastResultValue = runPopupMenu(popup, frameValue->nativeWindow(), at, lastButtonsValue & kButtonRight);
    popupOpen = false;
    if (pressedBackground) setDirty(true);

    if (lastResultValue >= 0)
    {
        int32_t counter = 0;
        int32_t index = -1;
        lastMenu = menuOfId(lastResultValue, counter, index);
        if (lastMenu)
        {
            lastMenu->setValue(float(index));
            if (listenerValue) listenerValue->onValueChanged(lastMenu);
        }
    }
    if (frameValue) frameValue->setFocusView(nullptr);
    endEdit();
}

void COptionMenu::onFocusLost()
{
    if (!popupOpen) return;
    popupOpen = false;
    CView* start = parent ? parent : static_cast<CView*>(frameValue);
    for (CView* p = start; p; p = p->parentView())
        if (p->handleMessage(this, kMsgLooseFocus) == 1) return;
}

void COptionMenu::setValue(float newValue)
{
    const int32_t index = int32_t(newValue);
    if (index < 0 || index >= entryCount()) return;
    currentIndex = index;
    if ((styleValue & kStyleCheck) && currentEntry())
        currentEntry()->setChecked(!currentEntry()->isChecked());
    CParamDisplay::setValue(newValue);
    setDirty(true);
}

CView* COptionMenu::clone() const
{
    return new (std::nothrow) COptionMenu(*this);
}

bool COptionMenu::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "COptionMenu") == 0) || CParamDisplay::isTypeOf(name);
}

} // namespace Plexel
