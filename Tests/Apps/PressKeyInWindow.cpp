// press-key-in-window: waits for a top-level window whose title contains a text, then
// sends it a key press and release, as a person at the keyboard would answer a dialog.
//   press-key-in-window TITLE KEYSYM [SECONDS]      (KEYSYM as in "Return", "Escape")
// Exits 0 once the key was sent, 1 when no such window appeared within SECONDS (default
// 20), 2 for a wrong command line or no display.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

// The first mapped window below `w` (depth first) whose name contains `title`.
Window findWindow(Display* display, Window w, const char* title)
{
    XWindowAttributes attributes;
    if (XGetWindowAttributes(display, w, &attributes) && attributes.map_state == IsViewable) {
        char* name = nullptr;
        if (XFetchName(display, w, &name) && name) {
            const bool match = std::strstr(name, title) != nullptr;
            XFree(name);
            if (match)
                return w;
        }
    }
    Window root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    Window found = 0;
    if (XQueryTree(display, w, &root, &parent, &children, &count)) {
        for (unsigned i = 0; i < count && !found; ++i)
            found = findWindow(display, children[i], title);
        if (children)
            XFree(children);
    }
    return found;
}

void sendKey(Display* display, Window w, KeyCode code, int type)
{
    XKeyEvent e {};
    e.type = type;
    e.display = display;
    e.window = w;
    e.root = DefaultRootWindow(display);
    e.subwindow = None;
    e.time = CurrentTime;
    e.x = e.y = e.x_root = e.y_root = 1;
    e.same_screen = True;
    e.keycode = code;
    XSendEvent(
        display, w, True, type == KeyPress ? KeyPressMask : KeyReleaseMask, reinterpret_cast<XEvent*>(&e));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: press-key-in-window TITLE KEYSYM [SECONDS]\n");
        return 2;
    }
    const double seconds = argc > 3 ? std::atof(argv[3]) : 20.0;
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "press-key-in-window: no display\n");
        return 2;
    }
    const KeySym sym = XStringToKeysym(argv[2]);
    const KeyCode code = sym == NoSymbol ? 0 : XKeysymToKeycode(display, sym);
    if (code == 0) {
        std::fprintf(stderr, "press-key-in-window: unknown key %s\n", argv[2]);
        XCloseDisplay(display);
        return 2;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    Window w = 0;
    while (!(w = findWindow(display, DefaultRootWindow(display), argv[1]))) {
        if (std::chrono::steady_clock::now() > deadline) {
            std::fprintf(stderr, "press-key-in-window: no window \"%s\" within %g s\n", argv[1], seconds);
            XCloseDisplay(display);
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    // The dialog takes the keyboard focus when it is shown; give it that moment.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    std::printf("press-key-in-window: found \"%s\", pressing %s\n", argv[1], argv[2]);
    sendKey(display, w, code, KeyPress);
    sendKey(display, w, code, KeyRelease);
    XFlush(display);
    XCloseDisplay(display);
    return 0;
}
