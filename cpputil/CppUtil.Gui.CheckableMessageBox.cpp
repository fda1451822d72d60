#include "CppUtil.Gui.CheckableMessageBox.h"

#include "Platform/Kernel/Runtime.h"

#include <mutex>

namespace CppUtil
{
namespace Gui
{
namespace
{

std::mutex& PresenterMutex()
{
    static std::mutex s_oMutex;
    return s_oMutex;
}

CCheckableMessageBox::TPresenter& Presenter()
{
    static CCheckableMessageBox::TPresenter s_oPresenter;
    return s_oPresenter;
}

} // namespace

CCheckableMessageBox::CCheckableMessageBox(bool showCheckBox)
    : m_bShowCheckBox(showCheckBox), m_bChecked(false)
{
}

int CCheckableMessageBox::MessageBoxA(const CString& text, const CString& caption,
                                      unsigned int type, unsigned int extra)
{
    TPresenter presenter;
    {
        std::lock_guard<std::mutex> lock(PresenterMutex());
        presenter = Presenter();
    }
    m_bChecked = false;
    if (presenter)
        return presenter(text, caption, type, extra, m_bShowCheckBox, m_bChecked);
    return Platform::ShowMessageBox(text, caption, type, m_bShowCheckBox, m_bChecked);
}

void CCheckableMessageBox::SetPresenter(const TPresenter& presenter)
{
    std::lock_guard<std::mutex> lock(PresenterMutex());
    Presenter() = presenter;
}

} // namespace Gui
} // namespace CppUtil
