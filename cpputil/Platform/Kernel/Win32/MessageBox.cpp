#include "../MessageBox.h"
#include "../Runtime.h"

namespace CppUtil
{
namespace Platform
{
namespace
{

const int k_iCheckBoxId = 0x7F10;
const char* const k_szCheckBoxText = "Do not show this message again";
const int k_iCheckBoxHeight = 24;
// The library's own marker for HTML text; never a style bit of the system's box.
const unsigned int k_uHtmlFlag = 0x04000000;

// A message box is modal on its thread, so one state per thread is enough. A plain pointer:
// thread-local objects with destructors misbehave in MinGW DLLs.
struct SBoxState
{
    HHOOK m_hHook;
    bool m_bShowCheckBox;
    bool* m_pbChecked;
    HWND m_hBox;
    WNDPROC m_pfnBoxProc;
};
thread_local SBoxState* t_poBoxState = nullptr;

LRESULT CALLBACK BoxProc(HWND box, UINT message, WPARAM wParam, LPARAM lParam)
{
    SBoxState* state = t_poBoxState;
    // The check box still exists while its parent handles WM_DESTROY.
    if (message == WM_DESTROY && state->m_bShowCheckBox)
        *state->m_pbChecked = IsDlgButtonChecked(box, k_iCheckBoxId) == BST_CHECKED;
    return CallWindowProcA(state->m_pfnBoxProc, box, message, wParam, lParam);
}

void AddCheckBox(HWND box)
{
    RECT window;
    RECT client;
    GetWindowRect(box, &window);
    GetClientRect(box, &client);
    SetWindowPos(box, nullptr, 0, 0, window.right - window.left,
                 window.bottom - window.top + k_iCheckBoxHeight,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    HWND checkBox = CreateWindowExA(0, "BUTTON", k_szCheckBoxText,
                                    WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_AUTOCHECKBOX, 12,
                                    client.bottom, client.right - 24, k_iCheckBoxHeight - 4, box,
                                    reinterpret_cast<HMENU>(static_cast<INT_PTR>(k_iCheckBoxId)),
                                    GetModuleHandleA(nullptr), nullptr);
    SendMessageA(checkBox, WM_SETFONT, SendMessageA(box, WM_GETFONT, 0, 0), TRUE);
}

LRESULT CALLBACK CbtProc(int code, WPARAM wParam, LPARAM lParam)
{
    SBoxState* state = t_poBoxState;
    if (code == HCBT_ACTIVATE && state && !state->m_hBox)
    {
        state->m_hBox = reinterpret_cast<HWND>(wParam);
        state->m_pfnBoxProc = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrA(state->m_hBox, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&BoxProc)));
        if (state->m_bShowCheckBox)
            AddCheckBox(state->m_hBox);
    }
    return CallNextHookEx(state ? state->m_hHook : nullptr, code, wParam, lParam);
}

} // namespace

int ShowMessageBox(const CString& text, const CString& caption, unsigned int type,
                   bool showCheckBox, bool& checked)
{
    checked = false;
    SBoxState state = {nullptr, showCheckBox, &checked, nullptr, nullptr};
    SBoxState* outer = t_poBoxState;
    t_poBoxState = &state;
    state.m_hHook = SetWindowsHookExA(WH_CBT, &CbtProc, nullptr, GetCurrentThreadId());
    const int answer = MessageBoxA(nullptr, text, caption, type & ~k_uHtmlFlag);
    if (state.m_hHook)
        UnhookWindowsHookEx(state.m_hHook);
    t_poBoxState = outer;
    return answer;
}

} // namespace Platform
} // namespace CppUtil
