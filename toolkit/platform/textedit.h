#pragma once

// The seam between the text edit control and a platform's native entry field. The field lies
// over the control while it edits, takes the keyboard and reports the keys that end an edit and
// its loss of focus; the control reads the text back when it closes the field. Names no platform
// type.

#include "toolkit/cbase.h"

#include <string>

namespace Plexel
{

struct TextField;

class TextFieldEvents
{
public:
    // Each may destroy the field before it returns.
    virtual void fieldReturn() = 0;
    virtual void fieldEscape() = 0;
    virtual void fieldTab(bool backwards) = 0;
    virtual void fieldFocusLost() = 0;

protected:
    ~TextFieldEvents() = default;
};

struct TextFieldLook
{
    const char* fontName = "";
    int32_t fontSize = 12;
    int32_t align = 1; // 0 left, 1 centred, 2 right
    CColor fontColor;
    CColor backColor;
};

// Bytes of UTF-8 that a field holds at most; longer text is cut at a character.
constexpr size_t kTextFieldLimit = 255;

// A field over rect of the parent window, holding text with all of it selected and the keyboard
// focus. Null if it cannot be made.
TextField* createTextField(TextFieldEvents* events, PlatformHandle parent, const CRect& rect,
                           const char* text, const TextFieldLook& look);
void destroyTextField(TextField* field);
std::string textFieldText(const TextField* field);
void setTextFieldText(TextField* field, const char* text);

// The longest start of text that is at most limit bytes and ends at a character.
size_t cutUtf8(const char* text, size_t length, size_t limit);

} // namespace Plexel
