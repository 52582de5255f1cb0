#include "toolkit/ctextedit.h"

#include "toolkit/cframe.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace Plexel
{

size_t cutUtf8(const char* text, size_t length, size_t limit)
{
    if (length <= limit) return length;
    size_t cut = limit;
    // Back over continuation bytes, so that no character is split.
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
        --cut;
    return cut;
}

CTextEdit::CTextEdit(const CRect& rect, CControlListener* listener, int32_t tag, const char* initial,
                     CBitmap* background, int32_t style)
    : CParamDisplay(rect, background, style)
{
    listenerValue = listener;
    tagValue = tag;
    wantsFocusValue = true;
    storeText(initial);
}

CTextEdit::CTextEdit(const CTextEdit& other)
    : CParamDisplay(other), editToString(other.editToString), editToStringUser(other.editToStringUser)
{
    std::memcpy(text, other.text, sizeof text);
}

CTextEdit::~CTextEdit()
{
    // Closing the field at destruction tells nobody.
    listenerValue = nullptr;
    if (field) onFocusLost();
}

void CTextEdit::storeText(const char* newText)
{
    const size_t length = newText ? cutUtf8(newText, std::strlen(newText), sizeof text - 1) : 0;
    if (length) std::memcpy(text, newText, length);
    text[length] = '\0';
}

void CTextEdit::setText(const char* newText)
{
    if (newText ? std::strcmp(newText, text) == 0 : text[0] == '\0') return;
    storeText(newText);
    setDirty(true);
}

void CTextEdit::copyText(char* out) const
{
    std::memcpy(out, text, sizeof text);
}

void CTextEdit::setEditToStringUser(EditToStringUser convert, void* data)
{
    editToStringUser = convert;
    userData = data;
}

void CTextEdit::draw(CDrawContext* context)
{
    if (field)
    {
        setDirty(false); // the native field lies on top
        return;
    }
    char shown[256] = {};
    if (editToStringUser)
        editToStringUser(text, shown, userData);
    else if (editToString)
        editToString(text, shown);
    else if (valueToStringUser)
    {
        valueToStringUser(value(), shown, userData);
        storeText(shown);
    }
    else if (valueToString)
    {
        valueToString(value(), shown);
        storeText(shown);
    }
    else
        std::snprintf(shown, sizeof shown, "%s", text);
    shown[sizeof shown - 1] = '\0';
    drawText(context, shown, nullptr);
    setDirty(false);
}

int32_t CTextEdit::onMouseDown(CPoint&, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    if (frameValue && frameValue->focusView() == this) return kMouseNotHandled;
    if ((styleValue & kStyleDoubleClickEdit) && !(buttons & kButtonDoubleClick)) return kMouseNotHandled;
    beginEdit();
    onFocusTaken();
    return kMouseHandledOnce;
}

void CTextEdit::onFocusTaken()
{
    if (field || !frameValue) return;
    returnPressed = false;
    CRect rect = size;
    for (CView* p = parent; p && p->handleMessage(this, kMsgCheckIfViewContainer) == 1; p = p->parentView())
        rect.offset(p->viewSize().left, p->viewSize().top);
    if (CDrawContext* context = frameValue->createDrawContext())
    {
        rect.offset(context->offset.x, context->offset.y);
        context->release();
    }
    TextFieldLook look;
    look.fontName = fontValue->name();
    look.fontSize = fontValue->fontSize();
    look.align = horizontalAlignValue;
    look.fontColor = fontColorValue;
    look.backColor = backColorValue;
    std::memcpy(textBeforeEdit, text, sizeof text);
    field = createTextField(this, frameValue->nativeWindow(), rect, text, look);
    // The frame must know who edits, so that a press elsewhere or a key ends the edit.
    if (field && frameValue->focusView() != this) frameValue->setFocusView(this);
}

void CTextEdit::onFocusLost()
{
    if (frameValue && frameValue->focusView() == this) frameValue->setFocusView(nullptr);
    if (!field) return;
    endEdit();
    char before[256];
    std::memcpy(before, text, sizeof text);
    const std::string edited = textFieldText(field);
    storeText(edited.c_str());
    TextField* closing = field;
    field = nullptr;
    destroyTextField(closing);
    setDirty(true);
    if (std::strcmp(before, text) != 0 && listenerValue) listenerValue->onValueChanged(this);
    CView* start = parent ? parent : static_cast<CView*>(frameValue);
    for (CView* p = start; p; p = p->parentView())
        if (p->handleMessage(this, kMsgLooseFocus) == 1) break;
}

void CTextEdit::fieldReturn()
{
    returnPressed = true;
    if (frameValue) frameValue->setFocusView(nullptr);
    // Without a frame that knew of the edit, the field is closed here.
    if (field) onFocusLost();
}

void CTextEdit::fieldEscape()
{
    if (field) setTextFieldText(field, textBeforeEdit);
    if (frameValue) frameValue->setFocusView(nullptr);
    if (field) onFocusLost();
}

void CTextEdit::fieldTab(bool backwards)
{
    if (frameValue && frameValue->advanceFocus(this, backwards)) return;
    if (frameValue) frameValue->setFocusView(nullptr);
    if (field) onFocusLost();
}

void CTextEdit::fieldFocusLost()
{
    onFocusLost();
}

void CTextEdit::setViewSize(const CRect& rect, bool invalidate)
{
    CParamDisplay::setViewSize(rect, invalidate);
}

bool CTextEdit::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CTextEdit") == 0) || CParamDisplay::isTypeOf(name);
}

CView* CTextEdit::clone() const
{
    return new (std::nothrow) CTextEdit(*this);
}

} // namespace Plexel
