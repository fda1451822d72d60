// The system's own box when no presenter is installed: its text on standard error, its default
// button the answer.
#include <cpputil/CppUtil.Gui.CheckableMessageBox.h>
#include <cpputil/Platform/Kernel/MessageBox.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <gtest/gtest.h>

#include <string>

using CppUtil::Gui::CCheckableMessageBox;

TEST(CheckableMessageBoxTest, WithoutPresenterTheDefaultButtonAnswers)
{
    CCheckableMessageBox box(true);
    ::testing::internal::CaptureStderr();
    const int answer = box.MessageBoxA("Keep it?", "Caption", MB_YESNO | MB_DEFBUTTON2, 0);
    const std::string written = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(IDNO, answer);
    EXPECT_FALSE(box.IsChecked());
    EXPECT_NE(std::string::npos, written.find("[Caption]\nKeep it?\n"));
}
