// The system's own box when no presenter is installed: its text on standard error, its default
// button the answer.
#include <cpputil/CppUtil.Gui.CheckableMessageBox.h>
#include <cpputil/Platform/Kernel/MessageBox.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <gmock/gmock.h>

using CppUtil::Gui::CCheckableMessageBox;

TEST(CheckableMessageBoxTest, WithoutPresenterTheDefaultButtonAnswers)
{
    CCheckableMessageBox box(true);
    ::testing::internal::CaptureStderr();
    const int answer = box.MessageBoxA("Keep it?", "Caption", MB_YESNO | MB_DEFBUTTON2, 0);
    EXPECT_THAT(::testing::internal::GetCapturedStderr(),
                ::testing::HasSubstr("[Caption]\nKeep it?\n"));
    EXPECT_EQ(IDNO, answer);
    EXPECT_FALSE(box.IsChecked());
}
