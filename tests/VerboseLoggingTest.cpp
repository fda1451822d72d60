#include "LogRecorder.h"
#include "RegistrySandbox.h"

#include <cpputil/CppUtil.CompiledMsg.h>
#include <cpputil/CppUtil.Gui.CheckableMessageBox.h>
#include <cpputil/CppUtil.Settings.VerboseLogging.h>
#include <cpputil/RegistryValue.h>

#include <gtest/gtest.h>

using namespace CppUtil::Settings;
using namespace CppUtil::Text;
using CppUtil::Gui::CCheckableMessageBox;

namespace
{

class VerboseLoggingTest : public ::testing::Test
{
protected:
    VerboseLoggingTest() : m_poManager(new CMessageManager), m_oOut(m_poManager)
    {
        m_oSandbox.RemoveMachineSection("VerboseLogging");
        // The process's first store object may log a line of its own; it goes nowhere yet.
        CVerboseLogging::LoadFromRegistry();
        m_poManager->SetLoggingEventHandler(m_oRecorder.Handler());
        CCheckableMessageBox::SetPresenter(
            [this](const CString& text, const CString& caption, unsigned int type, unsigned int,
                   bool, bool&)
            {
                m_oBoxes.push_back(text.GetString());
                EXPECT_EQ(CString("Verbose Logging"), caption);
                EXPECT_EQ(0x30u, type & 0xFFFFu);
                return 1;
            });
    }
    ~VerboseLoggingTest() override
    {
        CCheckableMessageBox::SetPresenter(CCheckableMessageBox::TPresenter());
        m_oSandbox.RemoveMachineSection("VerboseLogging");
        CVerboseLogging::LoadFromRegistry();
    }

    void Switch(const char* name, unsigned long value)
    {
        CRegistryValue<unsigned long>(m_oOut, HKEY_LOCAL_MACHINE, "VerboseLogging", name, 0, true,
                                      true, false)
            .SetValue(value);
    }

    std::string Message(unsigned long id)
    {
        CString text;
        text.Format(CppUtil::CCompiledMsgBase(id, "cpputil", "").LoadCStrWithMsgId(),
                    "VerboseLogging");
        return text.GetString();
    }

    CRegistrySandbox m_oSandbox;
    CLogRecorder m_oRecorder;
    CMessageManager* m_poManager;
    COutput m_oOut;
    std::vector<std::string> m_oBoxes;
};

} // namespace

TEST_F(VerboseLoggingTest, SwitchedAreasGateLinesAndTheLowestPrefixesThem)
{
    // Only known areas count: with none switched on nothing is shown and gated lines are dropped.
    Switch("Unrelated", 1);
    CVerboseLogging::NotifyIfEnabled();
    EXPECT_TRUE(m_oBoxes.empty());
    CString prefix("unchanged");
    EXPECT_FALSE(CVerboseLogging::IsMessageEnabled(0xFFFFFFFF, prefix));
    EXPECT_TRUE(CVerboseLogging::IsMessageEnabled(0, prefix));
    EXPECT_EQ(CString("unchanged"), prefix);
    EXPECT_FALSE(CVerboseLogging::IsApsLoggingEnabled());
    m_oOut.LogF("dropped", CVerboseLogging::ApsLog);
    m_oOut.LogF("kept", 0u);
    EXPECT_EQ(std::vector<std::string>{"kept"}, m_oRecorder.Texts());

    Switch("ApsLog", 1);
    Switch("GalilCommunication", 0x100);
    Switch("VisionUpward", 0);
    CVerboseLogging::NotifyIfEnabled();
    EXPECT_EQ(std::vector<std::string>{Message(2)}, m_oBoxes);
    EXPECT_TRUE(CVerboseLogging::IsMessageEnabled(0xFFFFFFFF, prefix));
    EXPECT_EQ(CString("GalilCommunication: "), prefix);
    EXPECT_TRUE(CVerboseLogging::IsMessageEnabled(CVerboseLogging::ApsLog | 0x10, prefix));
    EXPECT_EQ(CString("ApsLog: "), prefix);

    const std::size_t before = m_oRecorder.Lines().size();
    m_oOut.LogF("aps %d", CVerboseLogging::ApsLog) % 1;
    m_oOut.HtmlLegacyLogF("<b>both</b>",
                          CVerboseLogging::ApsLog | CVerboseLogging::GalilCommunication);
    m_oOut.LogF("upward", CVerboseLogging::VisionUpward);
    const std::vector<std::string> texts = m_oRecorder.Texts();
    EXPECT_EQ((std::vector<std::string>{"ApsLog: aps 1", "GalilCommunication: <b>both</b>"}),
              std::vector<std::string>(texts.begin() + before, texts.end()));

    // Switched off in the registry: the gate follows on the next load, not before.
    Switch("GalilCommunication", 0);
    Switch("ApsLog", 0);
    EXPECT_TRUE(CVerboseLogging::IsApsLoggingEnabled());
    CVerboseLogging::LoadFromRegistry();
    EXPECT_FALSE(CVerboseLogging::IsMessageEnabled(0xFFFFFFFF, prefix));

    // Image capture shows the stronger notice.
    Switch("DownwardVisionImageCapture", 1);
    CVerboseLogging::NotifyIfEnabled();
    EXPECT_EQ((std::vector<std::string>{Message(2), Message(11)}), m_oBoxes);
    EXPECT_TRUE(
        CVerboseLogging::IsMessageEnabled(CVerboseLogging::DownwardVisionImageCapture, prefix));
    EXPECT_EQ(CString("DownwardVisionImageCapture: "), prefix);
}
