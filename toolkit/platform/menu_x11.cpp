// The popup menu on X11: override-redirect windows that the toolkit draws itself, one per open
// level, with the pointer and the keyboard grabbed for as long as the menu runs. It is modal, as
// a native popup is elsewhere: its own loop serves the connection, hands exposures of the frames
// on so that they keep painting, and drops their input.

#include "toolkit/cbitmap.h"
#include "toolkit/platform/display_x11.h"
#include "toolkit/platform/menu.h"
#include "toolkit/platform/types_cairo.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <cairo-xlib.h>
#include <cairo.h>
#include <poll.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <memory>
#include <thread>

namespace Plexel
{

void paintPlatformDamage();

namespace
{
constexpr int kItemHeight = 20;
constexpr int kSeparatorHeight = 7;
constexpr int kPadding = 4;
constexpr int kTextLeft = 22;  // room for the check mark
constexpr int kTextRight = 24; // room for the arrow of a submenu
constexpr double kFontSize = 12.0;

bool choosable(const PopupEntry& e)
{
    return !e.separator && !e.disabled && !e.title;
}

struct Level
{
    const std::vector<PopupEntry>* entries;
    Window window = 0;
    CRect bounds;             // on the screen
    std::vector<CRect> rects; // of the entries, in the window
    int hot = -1;
};

class PopupMenu : public X11EventSink
{
public:
    PopupMenu(Display* d, bool right) : display(d), rightButton(right) {}
    ~PopupMenu()
    {
        while (!levels.empty())
            closeLevel();
    }

    int32_t run(const std::vector<PopupEntry>& entries, CPoint at);
    void handleEvent(XEvent& event) override;

private:
    void openLevel(const std::vector<PopupEntry>& entries, CPoint at, int parentLeft);
    void closeLevel();
    void layout(Level& level);
    void paint(Level& level);
    void setHot(size_t depth, int index, bool openSubmenu);
    void activate(size_t depth, int index);
    bool hitTest(int rootX, int rootY, size_t& depth, int& index) const;
    void onKey(XKeyEvent& e);
    void step(int direction);
    void jumpToLetter(char letter);
    CRect screen() const
    {
        return CRect(0, 0, DisplayWidth(display, DefaultScreen(display)),
                     DisplayHeight(display, DefaultScreen(display)));
    }

    Display* display;
    bool rightButton;
    std::vector<std::unique_ptr<Level>> levels;
    bool done = false;
    int32_t result = -1;
    // A release chooses only once the user pointed at the menu or pressed in it, so that the
    // release of the press that opened it chooses nothing.
    bool armed = false;
};

cairo_t* measuringContext()
{
    static cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
    static cairo_t* cr = []
    {
        cairo_t* c = cairo_create(surface);
        cairo_select_font_face(c, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(c, kFontSize);
        return c;
    }();
    return cr;
}

void PopupMenu::layout(Level& level)
{
    const std::vector<PopupEntry>& entries = *level.entries;
    const int maxHeight = std::max(kItemHeight * 4, screen().height() - 2 * kPadding);
    // Columns: where the menu asks for one, and wherever a column would not fit on the screen.
    std::vector<int> columnOf(entries.size());
    std::vector<int> widths(1, 0);
    std::vector<int> tops(entries.size());
    int y = kPadding;
    int height = 0;
    for (size_t i = 0; i < entries.size(); ++i)
    {
        const PopupEntry& e = entries[i];
        const int h = e.separator ? kSeparatorHeight : kItemHeight;
        if (i > 0 && (e.columnBreak || y + h > maxHeight))
        {
            widths.push_back(0);
            y = kPadding;
        }
        columnOf[i] = int(widths.size()) - 1;
        tops[i] = y;
        y += h;
        height = std::max(height, y);
        if (!e.separator)
        {
            cairo_text_extents_t extents;
            cairo_text_extents(measuringContext(), e.text.c_str(), &extents);
            const int w = kTextLeft + int(extents.x_advance) + kTextRight;
            widths.back() = std::max(widths.back(), w);
        }
    }
    std::vector<int> lefts(widths.size());
    int x = 0;
    for (size_t c = 0; c < widths.size(); ++c)
    {
        widths[c] = std::max(widths[c], 80);
        lefts[c] = x;
        x += widths[c];
    }
    level.rects.resize(entries.size());
    for (size_t i = 0; i < entries.size(); ++i)
    {
        const int h = entries[i].separator ? kSeparatorHeight : kItemHeight;
        const int c = columnOf[i];
        level.rects[i] = CRect(lefts[size_t(c)], tops[i], lefts[size_t(c)] + widths[size_t(c)], tops[i] + h);
    }
    level.bounds = CRect(0, 0, std::max(x, 1), height + kPadding);
}

void PopupMenu::openLevel(const std::vector<PopupEntry>& entries, CPoint at, int parentLeft)
{
    auto level = std::make_unique<Level>();
    level->entries = &entries;
    layout(*level);
    // Kept on the screen: a menu that would run off the right opens to the left of its parent,
    // one that would run off the bottom moves up.
    const CRect s = screen();
    const int w = level->bounds.width();
    const int h = level->bounds.height();
    int x = at.x;
    int y = at.y;
    if (x + w > s.right) x = levels.empty() ? s.right - w : parentLeft - w;
    if (y + h > s.bottom) y = s.bottom - h;
    x = std::max(x, int(s.left));
    y = std::max(y, int(s.top));
    level->bounds.offset(x, y);

    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.save_under = True;
    attributes.background_pixmap = None;
    attributes.event_mask =
        ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | KeyPressMask;
    level->window = XCreateWindow(display, DefaultRootWindow(display), x, y, unsigned(w), unsigned(h), 0,
                                  CopyFromParent, InputOutput, CopyFromParent,
                                  CWOverrideRedirect | CWSaveUnder | CWBackPixmap | CWEventMask, &attributes);
    Atom type = XInternAtom(display, "_NET_WM_WINDOW_TYPE", False);
    Atom popup = XInternAtom(display, "_NET_WM_WINDOW_TYPE_POPUP_MENU", False);
    XChangeProperty(display, level->window, type, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&popup), 1);
    XStoreName(display, level->window, "popup menu");
    watchWindow(level->window, this);
    XMapRaised(display, level->window);
    XFlush(display);
    levels.push_back(std::move(level));
}

void PopupMenu::closeLevel()
{
    Level& level = *levels.back();
    unwatchWindow(level.window);
    XDestroyWindow(display, level.window);
    XFlush(display);
    levels.pop_back();
    if (!levels.empty()) paint(*levels.back());
}

void PopupMenu::paint(Level& level)
{
    XWindowAttributes a;
    if (!XGetWindowAttributes(display, level.window, &a)) return;
    cairo_surface_t* surface = cairo_xlib_surface_create(display, level.window, a.visual, a.width, a.height);
    cairo_t* cr = cairo_create(surface);
    cairo_push_group(cr);
    cairo_set_source_rgb(cr, 0.94, 0.94, 0.94);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 0.5, 0.5, 0.5);
    cairo_set_line_width(cr, 1);
    cairo_rectangle(cr, 0.5, 0.5, a.width - 1, a.height - 1);
    cairo_stroke(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, kFontSize);
    const std::vector<PopupEntry>& entries = *level.entries;
    for (size_t i = 0; i < entries.size(); ++i)
    {
        const PopupEntry& e = entries[i];
        const CRect& r = level.rects[i];
        if (r.top > a.height) continue;
        if (e.separator)
        {
            cairo_set_source_rgb(cr, 0.7, 0.7, 0.7);
            const double mid = r.top + kSeparatorHeight / 2 + 0.5;
            cairo_move_to(cr, r.left + 4, mid);
            cairo_line_to(cr, r.right - 4, mid);
            cairo_stroke(cr);
            continue;
        }
        const bool hot = int(i) == level.hot && !e.disabled && !e.title;
        if (hot)
        {
            cairo_set_source_rgb(cr, 0.2, 0.4, 0.8);
            cairo_rectangle(cr, r.left + 1, r.top, r.width() - 2, r.height());
            cairo_fill(cr);
        }
        if (e.disabled)
            cairo_set_source_rgb(cr, 0.55, 0.55, 0.55);
        else if (hot)
            cairo_set_source_rgb(cr, 1, 1, 1);
        else
            cairo_set_source_rgb(cr, 0, 0, 0);
        const double baseline = r.top + kItemHeight / 2 + kFontSize / 2 - 2;
        cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                               e.title ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_move_to(cr, r.left + kTextLeft, baseline);
        cairo_show_text(cr, e.text.c_str());
        NativeImage* icon = e.icon ? e.icon->platformImage() : nullptr;
        if (icon && icon->surface && !e.checked)
        {
            // In the check mark's place, scaled into a square as high as the entry's text.
            const double side = kItemHeight - 4;
            const double w = cairo_image_surface_get_width(icon->surface);
            const double h = cairo_image_surface_get_height(icon->surface);
            if (w > 0 && h > 0)
            {
                cairo_save(cr);
                cairo_translate(cr, r.left + 2, r.top + 2);
                cairo_scale(cr, side / std::max(w, h), side / std::max(w, h));
                cairo_set_source_surface(cr, icon->surface, 0, 0);
                cairo_paint(cr);
                cairo_restore(cr);
                if (e.disabled)
                    cairo_set_source_rgb(cr, 0.55, 0.55, 0.55);
                else if (hot)
                    cairo_set_source_rgb(cr, 1, 1, 1);
                else
                    cairo_set_source_rgb(cr, 0, 0, 0);
            }
        }
        if (e.checked)
        {
            cairo_move_to(cr, r.left + 6, r.top + 10);
            cairo_line_to(cr, r.left + 9, r.top + 14);
            cairo_line_to(cr, r.left + 15, r.top + 6);
            cairo_set_line_width(cr, 2);
            cairo_stroke(cr);
            cairo_set_line_width(cr, 1);
        }
        if (e.hasSubmenu)
        {
            cairo_move_to(cr, r.right - 14, r.top + 6);
            cairo_line_to(cr, r.right - 9, r.top + 10);
            cairo_line_to(cr, r.right - 14, r.top + 14);
            cairo_close_path(cr);
            cairo_fill(cr);
        }
    }
    cairo_pop_group_to_source(cr);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    cairo_surface_destroy(surface);
    XFlush(display);
}

bool PopupMenu::hitTest(int rootX, int rootY, size_t& depth, int& index) const
{
    // The deepest level lies on top.
    for (size_t d = levels.size(); d-- > 0;)
    {
        const Level& level = *levels[d];
        if (!level.bounds.pointInside(CPoint(rootX, rootY))) continue;
        depth = d;
        index = -1;
        const CPoint local(rootX - level.bounds.left, rootY - level.bounds.top);
        for (size_t i = 0; i < level.rects.size(); ++i)
            if (level.rects[i].pointInside(local)) index = int(i);
        return true;
    }
    return false;
}

void PopupMenu::setHot(size_t depth, int index, bool openSubmenu)
{
    while (levels.size() > depth + 1 &&
           (index < 0 || levels[depth]->hot != index || !(*levels[depth]->entries)[size_t(index)].hasSubmenu))
        closeLevel();
    Level& level = *levels[depth];
    if (level.hot != index)
    {
        level.hot = index;
        paint(level);
    }
    if (index < 0) return;
    const PopupEntry& e = (*level.entries)[size_t(index)];
    if (openSubmenu && e.hasSubmenu && !e.disabled && levels.size() == depth + 1 && !e.submenu.empty())
    {
        const CRect& r = level.rects[size_t(index)];
        openLevel(e.submenu, CPoint(level.bounds.left + r.right, level.bounds.top + r.top - kPadding),
                  level.bounds.left + r.left);
    }
}

void PopupMenu::activate(size_t depth, int index)
{
    if (index < 0) return;
    const PopupEntry& e = (*levels[depth]->entries)[size_t(index)];
    if (e.hasSubmenu)
    {
        setHot(depth, index, true);
        if (levels.size() > depth + 1)
        {
            Level& sub = *levels.back();
            for (size_t i = 0; i < sub.entries->size(); ++i)
                if (choosable((*sub.entries)[i]) || (*sub.entries)[i].hasSubmenu)
                {
                    setHot(levels.size() - 1, int(i), false);
                    break;
                }
        }
        return;
    }
    if (!choosable(e) || e.id < 0) return;
    result = e.id;
    done = true;
}

void PopupMenu::step(int direction)
{
    Level& level = *levels.back();
    const int count = int(level.entries->size());
    int i = level.hot;
    for (int tries = 0; tries < count; ++tries)
    {
        i = i < 0 ? (direction > 0 ? 0 : count - 1) : (i + direction + count) % count;
        const PopupEntry& e = (*level.entries)[size_t(i)];
        if (choosable(e) || (e.hasSubmenu && !e.disabled))
        {
            setHot(levels.size() - 1, i, false);
            return;
        }
    }
}

void PopupMenu::jumpToLetter(char letter)
{
    Level& level = *levels.back();
    const int count = int(level.entries->size());
    const auto matches = [&](int i)
    {
        const PopupEntry& e = (*level.entries)[size_t(i)];
        return (choosable(e) || e.hasSubmenu) && !e.text.empty() &&
               std::tolower(static_cast<unsigned char>(e.text[0])) ==
                   std::tolower(static_cast<unsigned char>(letter));
    };
    int first = -1;
    int found = 0;
    for (int n = 1; n <= count; ++n)
    {
        const int i = (std::max(level.hot, -1) + n + count) % count;
        if (!matches(i)) continue;
        if (first < 0) first = i;
        ++found;
    }
    if (first < 0) return;
    // A letter that names one entry alone chooses it; otherwise it walks through those it names.
    if (found == 1)
        activate(levels.size() - 1, first);
    else
        setHot(levels.size() - 1, first, false);
}

void PopupMenu::onKey(XKeyEvent& e)
{
    char text[8] = {};
    KeySym key = NoSymbol;
    const int length = XLookupString(&e, text, sizeof text, &key, nullptr);
    switch (key)
    {
    case XK_Escape:
        if (levels.size() > 1)
            closeLevel();
        else
            done = true;
        return;
    case XK_Up:
    case XK_KP_Up:
        step(-1);
        return;
    case XK_Down:
    case XK_KP_Down:
        step(1);
        return;
    case XK_Right:
    case XK_KP_Right:
        activate(levels.size() - 1, levels.back()->hot);
        return;
    case XK_Left:
    case XK_KP_Left:
        if (levels.size() > 1) closeLevel();
        return;
    case XK_Return:
    case XK_KP_Enter:
    case XK_space:
        activate(levels.size() - 1, levels.back()->hot);
        return;
    default:
        if (length == 1 && std::isalnum(static_cast<unsigned char>(text[0]))) jumpToLetter(text[0]);
        return;
    }
}

void PopupMenu::handleEvent(XEvent& event)
{
    for (size_t d = 0; d < levels.size(); ++d)
        if (levels[d]->window == event.xany.window && event.type == Expose && event.xexpose.count == 0)
            paint(*levels[d]);
}

int32_t PopupMenu::run(const std::vector<PopupEntry>& entries, CPoint at)
{
    if (entries.empty()) return -1;
    openLevel(entries, at, at.x);
    const Window grabWindow = levels.front()->window;
    // Another program may hold the pointer for a moment, as a window manager does while it
    // finishes a gesture: try for a short while before giving up.
    bool grabbed = false;
    for (int tries = 0; tries < 50 && !grabbed; ++tries)
    {
        grabbed =
            XGrabPointer(display, grabWindow, False, ButtonPressMask | ButtonReleaseMask | PointerMotionMask,
                         GrabModeAsync, GrabModeAsync, None, None, CurrentTime) == GrabSuccess;
        if (!grabbed) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (!grabbed) return -1;
    for (int tries = 0; tries < 50; ++tries)
    {
        if (XGrabKeyboard(display, grabWindow, False, GrabModeAsync, GrabModeAsync, CurrentTime) ==
            GrabSuccess)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    XFlush(display);

    while (!done)
    {
        if (XPending(display) == 0)
        {
            paintPlatformDamage();
            pollfd descriptor{ConnectionNumber(display), POLLIN, 0};
            poll(&descriptor, 1, 100);
            continue;
        }
        XEvent event;
        XNextEvent(display, &event);
        size_t depth = 0;
        int index = -1;
        switch (event.type)
        {
        case MotionNotify:
            if (hitTest(event.xmotion.x_root, event.xmotion.y_root, depth, index) && index >= 0)
            {
                if (levels[depth]->hot != index) armed = true;
                setHot(depth, index, true);
            }
            break;
        case ButtonPress:
            if (!hitTest(event.xbutton.x_root, event.xbutton.y_root, depth, index))
                done = true; // a click outside ends the menu and chooses nothing
            else
                armed = true;
            break;
        case ButtonRelease:
            if (event.xbutton.button != Button1 && !(rightButton && event.xbutton.button == Button3)) break;
            if (armed && hitTest(event.xbutton.x_root, event.xbutton.y_root, depth, index))
                activate(depth, index);
            break;
        case KeyPress:
            onKey(event.xkey);
            break;
        case Expose:
        case ConfigureNotify:
        case DestroyNotify:
        case SelectionRequest:
        case SelectionClear:
            // Frames keep painting and owners of selections keep answering.
            dispatchEvent(event);
            break;
        default:
            break;
        }
    }
    XUngrabKeyboard(display, CurrentTime);
    XUngrabPointer(display, CurrentTime);
    XFlush(display);
    return result;
}
} // namespace

int32_t runPopupMenu(const std::vector<PopupEntry>& entries, PlatformHandle, CPoint at, bool rightButton)
{
    Display* display = toolkitDisplay();
    if (!display) return -1;
    PopupMenu menu(display, rightButton);
    return menu.run(entries, at);
}

} // namespace Plexel
