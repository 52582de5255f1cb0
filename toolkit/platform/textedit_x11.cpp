// The entry field on X11: a child window of the frame's window that the toolkit draws, with the
// keyboard focus, an input context of the server's input method (so that composed and
// non-Latin text can be typed), the CLIPBOARD and PRIMARY selections in UTF-8, and caret and
// selection by mouse and keys. Positions in the text are byte offsets at character starts.

#include "foundation/textcodec.h"
#include "toolkit/platform/display_x11.h"
#include "toolkit/platform/textedit.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <cairo-xlib.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Plexel
{

namespace
{
XIM inputMethod = nullptr;
bool inputMethodTried = false;

XIM openInputMethod(Display* d)
{
    if (!inputMethodTried)
    {
        inputMethodTried = true;
        // The modifiers of XMODIFIERS choose the method, as in any other program.
        XSetLocaleModifiers("");
        inputMethod = XOpenIM(d, nullptr, nullptr, nullptr);
        if (!inputMethod)
        {
            XSetLocaleModifiers("@im=none");
            inputMethod = XOpenIM(d, nullptr, nullptr, nullptr);
        }
    }
    return inputMethod;
}

// Text from outside: no control characters (a line break becomes a blank), no broken UTF-8.
std::string cleanInput(std::string_view bytes)
{
    std::string text = foundation::text::utf16ToUtf8(foundation::text::utf8ToUtf16(bytes));
    std::string out;
    out.reserve(text.size());
    for (char c : text)
    {
        if (c == '\n' || c == '\t') c = ' ';
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) continue;
        out += c;
    }
    return out;
}

size_t previousChar(const std::string& s, size_t at)
{
    if (at == 0) return 0;
    do
        --at;
    while (at > 0 && (static_cast<unsigned char>(s[at]) & 0xC0) == 0x80);
    return at;
}

size_t nextChar(const std::string& s, size_t at)
{
    if (at >= s.size()) return s.size();
    do
        ++at;
    while (at < s.size() && (static_cast<unsigned char>(s[at]) & 0xC0) == 0x80);
    return at;
}

// Answers a request for a selection with UTF-8 text, also as Latin-1 for clients that ask so.
void answerSelectionRequest(Display* display, const XSelectionRequestEvent& r, const std::string& data)
{
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    const Atom targetsAtom = XInternAtom(display, "TARGETS", False);
    const Atom textAtom = XInternAtom(display, "TEXT", False);
    XEvent reply{};
    reply.xselection.type = SelectionNotify;
    reply.xselection.requestor = r.requestor;
    reply.xselection.selection = r.selection;
    reply.xselection.target = r.target;
    reply.xselection.time = r.time;
    reply.xselection.property = None;
    const Atom property = r.property != None ? r.property : r.target;
    if (r.target == targetsAtom)
    {
        Atom targets[] = {targetsAtom, utf8, XA_STRING, textAtom};
        XChangeProperty(display, r.requestor, property, XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<unsigned char*>(targets), 4);
        reply.xselection.property = property;
    }
    else if (r.target == utf8 || r.target == textAtom)
    {
        XChangeProperty(display, r.requestor, property, utf8, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(data.data()), int(data.size()));
        reply.xselection.property = property;
    }
    else if (r.target == XA_STRING)
    {
        // Latin-1, with '?' for what it cannot hold.
        const std::u16string wide = foundation::text::utf8ToUtf16(data);
        std::string latin;
        for (char16_t c : wide)
            latin += c < 0x100 ? char(c) : '?';
        XChangeProperty(display, r.requestor, property, XA_STRING, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(latin.data()), int(latin.size()));
        reply.xselection.property = property;
    }
    XSendEvent(display, r.requestor, False, NoEventMask, &reply);
    XFlush(display);
}

// Text copied from a field is pasted elsewhere long after the field closed: the clipboard is
// owned by a hidden window of the process that lives until another program takes it over.
class ClipboardKeeper final : public X11EventSink
{
public:
    void own(Display* d, const std::string& text, Time time)
    {
        if (!window)
        {
            display = d;
            window = XCreateSimpleWindow(d, DefaultRootWindow(d), -10, -10, 1, 1, 0, 0, 0);
            watchWindow(window, this);
        }
        data = text;
        XSetSelectionOwner(d, XInternAtom(d, "CLIPBOARD", False), window, time);
        XFlush(d);
    }
    void handleEvent(XEvent& event) override
    {
        if (event.type == SelectionRequest) answerSelectionRequest(display, event.xselectionrequest, data);
        if (event.type == SelectionClear) data.clear();
    }

private:
    Display* display = nullptr;
    Window window = 0;
    std::string data;
};

ClipboardKeeper clipboardKeeper;
} // namespace

struct TextField final : X11EventSink
{
    Display* display = nullptr;
    Window window = 0;
    XIC context = nullptr;
    TextFieldEvents* events = nullptr;
    TextFieldLook look;
    std::string fontName;
    int width = 0;
    int height = 0;
    std::string text;
    size_t caret = 0;
    size_t anchor = 0; // the other end of the selection
    int scroll = 0;
    bool dragging = false;
    Atom atomClipboard = None, atomUtf8 = None, atomProperty = None;
    void handleEvent(XEvent& event) override;
    cairo_t* measure() const;
    double textWidth(size_t from, size_t to) const;
    double textLeft() const;
    size_t offsetAt(int x) const;
    void paint();
    void replaceSelection(std::string_view inserted);
    void ownSelection(Atom selection, Time time);
    void paste(Atom selection, Time time);
    void onKey(XKeyEvent& e);
    void answerRequest(const XSelectionRequestEvent& r);
    std::string selected() const
    {
        const size_t from = std::min(caret, anchor);
        return text.substr(from, std::max(caret, anchor) - from);
    }
};

namespace
{
cairo_surface_t* measureSurface = nullptr;
cairo_t* measureContext = nullptr;
} // namespace

cairo_t* TextField::measure() const
{
    if (!measureContext)
    {
        measureSurface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
        measureContext = cairo_create(measureSurface);
    }
    cairo_select_font_face(measureContext, fontName.c_str(), CAIRO_FONT_SLANT_NORMAL,
                           CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(measureContext, look.fontSize);
    return measureContext;
}

double TextField::textWidth(size_t from, size_t to) const
{
    if (to <= from) return 0;
    const std::string part = text.substr(from, to - from);
    cairo_text_extents_t extents;
    cairo_text_extents(measure(), part.c_str(), &extents);
    return extents.x_advance;
}

double TextField::textLeft() const
{
    const double all = textWidth(0, text.size());
    const double room = width - 4;
    if (all > room || look.align == 0) return 2 - scroll;
    return look.align == 2 ? 2 + room - all : 2 + (room - all) / 2;
}

size_t TextField::offsetAt(int x) const
{
    const double left = textLeft();
    size_t best = 0;
    double bestDistance = 1e9;
    for (size_t at = 0;; at = nextChar(text, at))
    {
        const double distance = std::abs(left + textWidth(0, at) - x);
        if (distance < bestDistance)
        {
            bestDistance = distance;
            best = at;
        }
        if (at >= text.size()) break;
    }
    return best;
}

void TextField::paint()
{
    // The caret stays in view: the text scrolls when it is wider than the field.
    const double caretX = textWidth(0, caret);
    if (caretX - scroll > width - 6) scroll = int(caretX) - (width - 6);
    if (caretX - scroll < 0) scroll = int(caretX);
    if (textWidth(0, text.size()) <= width - 4) scroll = 0;

    XWindowAttributes a;
    if (!XGetWindowAttributes(display, window, &a)) return;
    cairo_surface_t* surface = cairo_xlib_surface_create(display, window, a.visual, a.width, a.height);
    cairo_t* cr = cairo_create(surface);
    cairo_push_group(cr);
    const auto set = [cr](const CColor& c)
    { cairo_set_source_rgb(cr, c.red / 255.0, c.green / 255.0, c.blue / 255.0); };
    set(look.backColor);
    cairo_paint(cr);
    cairo_select_font_face(cr, fontName.c_str(), CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, look.fontSize);
    cairo_font_extents_t font;
    cairo_font_extents(cr, &font);
    const double left = textLeft();
    const double baseline = (height + font.ascent - font.descent) / 2;
    if (caret != anchor)
    {
        const size_t from = std::min(caret, anchor);
        const size_t to = std::max(caret, anchor);
        cairo_set_source_rgb(cr, 0.25, 0.45, 0.85);
        cairo_rectangle(cr, left + textWidth(0, from), 1, textWidth(from, to), height - 2);
        cairo_fill(cr);
    }
    set(look.fontColor);
    cairo_move_to(cr, left, baseline);
    cairo_show_text(cr, text.c_str());
    if (caret == anchor)
    {
        cairo_set_line_width(cr, 1);
        const double x = std::floor(left + caretX) + 0.5;
        cairo_move_to(cr, x, 2);
        cairo_line_to(cr, x, height - 2);
        cairo_stroke(cr);
    }
    cairo_pop_group_to_source(cr);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    cairo_surface_destroy(surface);
    XFlush(display);
}

void TextField::replaceSelection(std::string_view inserted)
{
    const size_t from = std::min(caret, anchor);
    const size_t to = std::max(caret, anchor);
    const size_t room = kTextFieldLimit - (text.size() - (to - from));
    const size_t take = cutUtf8(inserted.data(), inserted.size(), room);
    text.replace(from, to - from, inserted.substr(0, take));
    caret = anchor = from + take;
}

void TextField::ownSelection(Atom selection, Time time)
{
    XSetSelectionOwner(display, selection, window, time);
}

void TextField::paste(Atom selection, Time time)
{
    XConvertSelection(display, selection, atomUtf8, atomProperty, window, time);
    XFlush(display);
}

void TextField::answerRequest(const XSelectionRequestEvent& r)
{
    answerSelectionRequest(display, r, selected());
}

void TextField::onKey(XKeyEvent& e)
{
    char buffer[64];
    KeySym key = NoSymbol;
    Status status = 0;
    int length = 0;
    std::string typed;
    if (context)
    {
        length = Xutf8LookupString(context, &e, buffer, sizeof buffer - 1, &key, &status);
        if (status == XBufferOverflow)
        {
            std::string big(size_t(length) + 1, '\0');
            length = Xutf8LookupString(context, &e, big.data(), length, &key, &status);
            typed.assign(big.data(), size_t(std::max(length, 0)));
        }
        else if (status == XLookupChars || status == XLookupBoth)
            typed.assign(buffer, size_t(std::max(length, 0)));
        if (status == XLookupChars) key = NoSymbol;
    }
    else
    {
        length = XLookupString(&e, buffer, sizeof buffer - 1, &key, nullptr);
        // Without an input method the bytes are Latin-1.
        for (int i = 0; i < length; ++i)
        {
            char out[4];
            const auto c = char32_t(static_cast<unsigned char>(buffer[i]));
            foundation::text::encodeUtf8(c, out);
            typed.append(out, foundation::text::utf8Length(c));
        }
    }
    const bool shift = e.state & ShiftMask;
    const bool control = e.state & ControlMask;
    // Only a selection that the user made becomes the primary one, not what a paste replaces.
    bool selecting = false;
    const auto moveTo = [&](size_t at)
    {
        caret = at;
        if (!shift) anchor = at;
        selecting = shift;
    };
    switch (key)
    {
    case XK_Return:
    case XK_KP_Enter:
        events->fieldReturn();
        return;
    case XK_Escape:
        events->fieldEscape();
        return;
    case XK_Tab:
    case XK_ISO_Left_Tab:
        events->fieldTab(shift || key == XK_ISO_Left_Tab);
        return;
    case XK_Left:
    case XK_KP_Left:
        moveTo(!shift && caret != anchor ? std::min(caret, anchor) : previousChar(text, caret));
        break;
    case XK_Right:
    case XK_KP_Right:
        moveTo(!shift && caret != anchor ? std::max(caret, anchor) : nextChar(text, caret));
        break;
    case XK_Home:
    case XK_KP_Home:
        moveTo(0);
        break;
    case XK_End:
    case XK_KP_End:
        moveTo(text.size());
        break;
    case XK_BackSpace:
        if (caret == anchor) anchor = previousChar(text, caret);
        replaceSelection({});
        break;
    case XK_Delete:
    case XK_KP_Delete:
        if (caret == anchor) anchor = nextChar(text, caret);
        replaceSelection({});
        break;
    default:
        if (control && (key == XK_a || key == XK_A))
        {
            anchor = 0;
            caret = text.size();
            selecting = true;
        }
        else if (control && (key == XK_c || key == XK_C || key == XK_x || key == XK_X))
        {
            if (caret == anchor) break;
            clipboardKeeper.own(display, selected(), e.time);
            if (key == XK_x || key == XK_X) replaceSelection({});
        }
        else if (control && (key == XK_v || key == XK_V))
            paste(atomClipboard, e.time);
        else if (!control && !typed.empty())
            replaceSelection(cleanInput(typed));
        break;
    }
    if (selecting && caret != anchor) ownSelection(XA_PRIMARY, e.time);
    paint();
}

void TextField::handleEvent(XEvent& event)
{
    // The calls to the control may destroy the field: nothing touches it after one of them.
    switch (event.type)
    {
    case Expose:
        if (event.xexpose.count == 0) paint();
        break;
    case KeyPress:
        onKey(event.xkey);
        break;
    case ButtonPress:
        if (event.xbutton.button == Button1)
        {
            XSetInputFocus(display, window, RevertToParent, event.xbutton.time);
            caret = offsetAt(event.xbutton.x);
            if (!(event.xbutton.state & ShiftMask)) anchor = caret;
            dragging = true;
            paint();
        }
        else if (event.xbutton.button == Button2)
        {
            caret = anchor = offsetAt(event.xbutton.x);
            paste(XA_PRIMARY, event.xbutton.time);
        }
        break;
    case MotionNotify:
        if (dragging)
        {
            caret = offsetAt(event.xmotion.x);
            paint();
        }
        break;
    case ButtonRelease:
        if (event.xbutton.button == Button1)
        {
            dragging = false;
            if (caret != anchor) ownSelection(XA_PRIMARY, event.xbutton.time);
        }
        break;
    case SelectionNotify:
        if (event.xselection.property != None)
        {
            Atom type = None;
            int format = 0;
            unsigned long count = 0, after = 0;
            unsigned char* data = nullptr;
            if (XGetWindowProperty(display, window, atomProperty, 0, 65536, True, AnyPropertyType, &type,
                                   &format, &count, &after, &data) == Success &&
                data && format == 8)
            {
                replaceSelection(cleanInput(std::string_view(reinterpret_cast<char*>(data), count)));
                paint();
            }
            if (data) XFree(data);
        }
        break;
    case SelectionRequest:
        answerRequest(event.xselectionrequest);
        break;
    case FocusIn:
        if (context) XSetICFocus(context);
        break;
    case FocusOut:
        // Moves of the focus inside the field, and those caused by grabs, keep the edit going.
        if (event.xfocus.detail == NotifyInferior || event.xfocus.detail == NotifyPointer ||
            event.xfocus.mode != NotifyNormal)
            break;
        if (context) XUnsetICFocus(context);
        events->fieldFocusLost();
        break;
    default:
        break;
    }
}

TextField* createTextField(TextFieldEvents* events, PlatformHandle parent, const CRect& rect,
                           const char* initial, const TextFieldLook& look)
{
    Display* d = toolkitDisplay();
    if (!d || !parent) return nullptr;
    auto* field = new TextField;
    field->display = d;
    field->events = events;
    field->look = look;
    field->fontName = look.fontName && *look.fontName ? look.fontName : "sans-serif";
    if (field->look.fontSize <= 0) field->look.fontSize = 12;
    field->look.fontSize = std::max(6, std::min(field->look.fontSize, rect.height() - 2));
    field->width = std::max(1, rect.width() + 1);
    field->height = std::max(1, rect.height() + 1);
    const size_t length = initial ? std::strlen(initial) : 0;
    field->text = cleanInput(
        std::string_view(initial ? initial : "", cutUtf8(initial ? initial : "", length, kTextFieldLimit)));
    field->anchor = 0;
    field->caret = field->text.size();
    field->atomClipboard = XInternAtom(d, "CLIPBOARD", False);
    field->atomUtf8 = XInternAtom(d, "UTF8_STRING", False);
    field->atomProperty = XInternAtom(d, "PLEXEL_PASTE", False);

    XSetWindowAttributes attributes{};
    attributes.background_pixmap = None;
    attributes.event_mask = ExposureMask | KeyPressMask | ButtonPressMask | ButtonReleaseMask |
                            Button1MotionMask | FocusChangeMask | StructureNotifyMask;
    field->window = XCreateWindow(d, Window(reinterpret_cast<uintptr_t>(parent)), rect.left, rect.top,
                                  unsigned(field->width), unsigned(field->height), 0, CopyFromParent,
                                  InputOutput, CopyFromParent, CWBackPixmap | CWEventMask, &attributes);
    if (XIM im = openInputMethod(d))
    {
        field->context = XCreateIC(im, XNInputStyle, XIMPreeditNothing | XIMStatusNothing, XNClientWindow,
                                   field->window, XNFocusWindow, field->window, nullptr);
        if (field->context)
        {
            // The method may want events of its own on the window.
            long filter = 0;
            if (!XGetICValues(field->context, XNFilterEvents, &filter, nullptr) && filter)
                XSelectInput(d, field->window, attributes.event_mask | filter);
        }
    }
    watchWindow(field->window, field);
    XMapRaised(d, field->window);
    // The window must be viewable before it can take the focus.
    XSync(d, False);
    XSetInputFocus(d, field->window, RevertToParent, CurrentTime);
    if (field->context) XSetICFocus(field->context);
    XFlush(d);
    return field;
}

void destroyTextField(TextField* field)
{
    if (!field) return;
    unwatchWindow(field->window);
    if (field->context) XDestroyIC(field->context);
    XDestroyWindow(field->display, field->window);
    XFlush(field->display);
    delete field;
}

std::string textFieldText(const TextField* field)
{
    return field ? field->text : std::string();
}

void setTextFieldText(TextField* field, const char* text)
{
    if (!field) return;
    const size_t length = text ? std::strlen(text) : 0;
    field->text =
        cleanInput(std::string_view(text ? text : "", cutUtf8(text ? text : "", length, kTextFieldLimit)));
    field->caret = field->anchor = field->text.size();
    field->paint();
}

} // namespace Plexel
