// A host logging delegate and output-window writer that remember what reached them.
#pragma once

#include <cpputil/CppUtil.Text.Output.h>

#include <mutex>
#include <string>
#include <vector>

struct SLogLine
{
    std::string m_sText;
    bool m_bHtml;
    std::string m_sSecondText;
    CppUtil::Text::ELogEntryDestination m_eDestination;
};

struct SWindowLine
{
    const CppUtil::Text::COutput* m_poOutput;
    std::string m_sText;
    unsigned int m_uFlags;
};

class CLogRecorder
{
public:
    CppUtil::Text::CMessageManager::TLoggingEventHandler Handler()
    {
        return [this](const char* text, bool html, const char* secondText,
                      CppUtil::Text::ELogEntryDestination destination)
        {
            std::lock_guard<std::mutex> lock(m_oMutex);
            m_oLines.push_back({text, html, secondText, destination});
        };
    }

    CppUtil::Text::COutput::TWriteOutputWndDelegate Window()
    {
        return [this](CppUtil::Text::COutput& output, const CString& text, unsigned int flags)
        {
            std::lock_guard<std::mutex> lock(m_oMutex);
            m_oWindow.push_back({&output, text.GetString(), flags});
        };
    }

    std::vector<SLogLine> Lines()
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        return m_oLines;
    }

    // The log lines' texts, in order.
    std::vector<std::string> Texts()
    {
        std::vector<std::string> texts;
        for (const SLogLine& line : Lines())
            texts.push_back(line.m_sText);
        return texts;
    }

    // How many log lines contain the part.
    int Count(const std::string& part)
    {
        int count = 0;
        for (const SLogLine& line : Lines())
            count += line.m_sText.find(part) != std::string::npos;
        return count;
    }

    std::vector<SWindowLine> WindowLines()
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        return m_oWindow;
    }

private:
    std::mutex m_oMutex;
    std::vector<SLogLine> m_oLines;
    std::vector<SWindowLine> m_oWindow;
};

/// An output with a manager of its own whose log lines the recorder keeps, as most tests use.
struct SRecordedOutput
{
    SRecordedOutput() : m_poManager(new CppUtil::Text::CMessageManager), m_oOut(m_poManager)
    {
        m_poManager->SetLoggingEventHandler(m_oRecorder.Handler());
    }

    CLogRecorder m_oRecorder;
    CppUtil::Text::CMessageManager* m_poManager;
    CppUtil::Text::COutput m_oOut;
};

/// The same, with the recorder as the output-window writer for as long as it lives.
struct SRecordedOutputAndWindow : SRecordedOutput
{
    SRecordedOutputAndWindow()
    {
        CppUtil::Text::COutput::SetWriteOutputWndDelegate(m_oRecorder.Window());
    }
    ~SRecordedOutputAndWindow()
    {
        CppUtil::Text::COutput::SetWriteOutputWndDelegate(
            CppUtil::Text::COutput::TWriteOutputWndDelegate());
    }
};
