#pragma once

// A control that shows a string and, on a press, lays a native entry field over itself until
// the edit ends: by Return, by Escape (which puts the old text back), by Tab (which moves the
// focus on), or by the field losing the keyboard.

#include "toolkit/cparamdisplay.h"
#include "toolkit/platform/textedit.h"

namespace Plexel
{

using EditToString = void (*)(const char* source, char* text);
using EditToStringUser = void (*)(const char* source, char* text, void* userData);

class CTextEdit : public CParamDisplay, private TextFieldEvents
{
public:
    CTextEdit(const CRect& size, CControlListener* listener, int32_t tag, const char* text = nullptr,
              CBitmap* background = nullptr, int32_t style = 0);
    CTextEdit(const CTextEdit& other);
    ~CTextEdit() override;

    // Null counts as empty; text is cut to 255 bytes at a character.
    virtual void setText(const char* newText);
    virtual const char* textOf() const { return text; }
    // Into a buffer of 256 bytes.
    virtual void copyText(char* out) const;
    virtual void setEditToStringUser(EditToStringUser convert, void* data);
    virtual void setEditToString(EditToString convert) { editToString = convert; }

    bool isEditing() const { return field != nullptr; }
    bool returnWasPressed() const { return returnPressed; }

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    void onFocusTaken() override;
    void onFocusLost() override;
    void setViewSize(const CRect& rect, bool invalidate = true) override;
    void parentSizeChanged() override {}
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

private:
    void fieldReturn() override;
    void fieldEscape() override;
    void fieldTab(bool backwards) override;
    void fieldFocusLost() override;
    void storeText(const char* newText);

    TextField* field = nullptr;
    bool returnPressed = false;
    char text[256] = {};
    // What the field started with, for Escape.
    char textBeforeEdit[256] = {};
    EditToString editToString = nullptr;
    EditToStringUser editToStringUser = nullptr;
};

} // namespace Plexel
