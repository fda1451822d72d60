// The system's own box when no presenter is installed: a real modal box with a check box.
#include <cpputil/CppUtil.Gui.CheckableMessageBox.h>
#include <cpputil/Platform/Kernel/MessageBox.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using CppUtil::Gui::CCheckableMessageBox;

TEST(CheckableMessageBoxTest, RealBoxCarriesTheCheckBox)
{
    // Plays the user from another thread: finds the box, ticks its check box, presses No.
    std::atomic<bool> ticked(false);
    std::thread user(
        [&ticked]
        {
            for (int attempt = 0; attempt < 500; ++attempt)
            {
                HWND box = FindWindowA("#32770", "CppUtil check box test");
                HWND check =
                    box ? FindWindowExA(box, nullptr, "Button", "Do not show this message again")
                        : nullptr;
                if (check)
                {
                    SendMessageA(check, BM_CLICK, 0, 0);
                    ticked = true;
                    PostMessageA(box, WM_COMMAND, IDNO, 0);
                    return;
                }
                Sleep(20);
            }
        });
    CCheckableMessageBox box(true);
    const int answer = box.MessageBoxA("Keep it?", "CppUtil check box test", MB_YESNO, 0);
    user.join();
    ASSERT_TRUE(ticked.load());
    EXPECT_EQ(IDNO, answer);
    EXPECT_TRUE(box.IsChecked());
}
