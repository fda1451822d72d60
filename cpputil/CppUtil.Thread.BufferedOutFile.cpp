#include "CppUtil.Thread.BufferedOutFile.h"

#include "CppUtil.Text.Output.h"
#include "CppUtil.Thread.OneShotTimer.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>
#include <vector>

namespace CppUtil
{
namespace Thread
{

namespace
{

// Binary, so that the bytes written are the bytes counted when a write fails part-way; every
// current Windows viewer reads "\n" line ends, and the file is then the same on every platform.
const char k_cLineEnd = '\n';
const std::size_t k_uTailChunk = 4096;

std::filesystem::path PathOf(const CString& sFileName)
{
    return std::filesystem::path(static_cast<const char*>(sFileName));
}

class CFile
{
public:
    CFile(const CString& sFileName, const char* szMode)
        : m_pFile(std::fopen(static_cast<const char*>(sFileName), szMode))
    {
    }
    ~CFile()
    {
        if (m_pFile)
            std::fclose(m_pFile);
    }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    std::FILE* Get() const { return m_pFile; }
    // Closes now and tells whether what was buffered reached the file.
    bool Close()
    {
        std::FILE* pFile = m_pFile;
        m_pFile = nullptr;
        return std::fclose(pFile) == 0;
    }

private:
    std::FILE* m_pFile;
};

} // namespace

CBufferedOutFile::CBufferedOutFile(Text::COutput& output, const CString& sFileName)
    : CDaemonThread(output), m_oOutput(output), m_sFileName(sFileName), m_bFailureReported(false)
{
    SetThreadName("CBufferedOutFile (" + sFileName + ")");
}

CBufferedOutFile::~CBufferedOutFile() noexcept(false)
{
    // The worker's last flush runs in OnThreadStop; one that outlasts the shut-down time-out is
    // waited for before the members it uses go. Lines added since, or while no worker ran, are
    // written here, even when the worker left a failure behind.
    std::exception_ptr failure;
    try
    {
        Stop();
    }
    catch (...)
    {
        failure = std::current_exception();
    }
    Shutdown();
    Flush();
    if (failure)
        std::rethrow_exception(failure);
}

CString CBufferedOutFile::GetFileName() const
{
    return m_sFileName;
}

void CBufferedOutFile::AddLine(const CString& sLine)
{
    std::lock_guard<std::mutex> lock(m_oQueueMutex);
    m_oQueue.push_back(sLine);
}

std::size_t CBufferedOutFile::GetPendingCount() const
{
    std::lock_guard<std::mutex> lock(m_oQueueMutex);
    return m_oQueue.size();
}

bool CBufferedOutFile::Flush()
{
    std::lock_guard<std::mutex> fileLock(m_oFileMutex);
    std::deque<CString> oBatch;
    {
        std::lock_guard<std::mutex> lock(m_oQueueMutex);
        oBatch.swap(m_oQueue);
    }
    if (oBatch.empty())
        return true;

    // Where each line ends in the batch, so that a write that stops part-way can be cut back to
    // the last whole line.
    std::string sText;
    std::vector<std::size_t> oLineEnds;
    oLineEnds.reserve(oBatch.size());
    for (const CString& sLine : oBatch)
    {
        sText.append(static_cast<const char*>(sLine), sLine.GetLength());
        sText.push_back(k_cLineEnd);
        oLineEnds.push_back(sText.size());
    }

    std::size_t uWritten = 0;
    int iError = 0;
    const char* szWhat = "opened";
    std::error_code oError;
    const std::filesystem::path oPath = PathOf(m_sFileName);
    std::uintmax_t uSizeBefore = std::filesystem::file_size(oPath, oError);
    if (oError)
        uSizeBefore = 0;
    {
        CFile oFile(m_sFileName, "ab");
        if (!oFile.Get())
            iError = errno;
        else
        {
            szWhat = "written";
            const std::size_t uPut = std::fwrite(sText.data(), 1, sText.size(), oFile.Get());
            const bool bFlushed = std::fflush(oFile.Get()) == 0;
            iError = errno;
            if (oFile.Close() && bFlushed && uPut == sText.size())
                uWritten = sText.size();
            else
            {
                // What reached the file is what the file grew by; a line only part of which got
                // there is cut off again and stays queued with those after it.
                const std::uintmax_t uSizeAfter = std::filesystem::file_size(oPath, oError);
                const std::size_t uGrown = oError || uSizeAfter < uSizeBefore
                                               ? 0
                                               : static_cast<std::size_t>(uSizeAfter - uSizeBefore);
                for (std::size_t uEnd : oLineEnds)
                {
                    if (uEnd > uGrown)
                        break;
                    uWritten = uEnd;
                }
                if (uGrown != uWritten)
                    std::filesystem::resize_file(oPath, uSizeBefore + uWritten, oError);
            }
        }
    }

    std::size_t uLinesWritten = 0;
    while (uLinesWritten < oLineEnds.size() && oLineEnds[uLinesWritten] <= uWritten)
        ++uLinesWritten;
    if (uLinesWritten == oBatch.size())
    {
        if (m_bFailureReported)
            m_oOutput.LogF("CBufferedOutFile: \"%s\" is written again.", CString()) % m_sFileName;
        m_bFailureReported = false;
        return true;
    }

    // The unwritten lines go back in front of those added meanwhile, keeping their order.
    {
        std::lock_guard<std::mutex> lock(m_oQueueMutex);
        m_oQueue.insert(m_oQueue.begin(), oBatch.begin() + uLinesWritten, oBatch.end());
    }
    ReportFailure(szWhat, iError);
    return false;
}

void CBufferedOutFile::ReportFailure(const char* szWhat, int iError)
{
    // Once a streak: a file that stays locked would otherwise flood the log every period.
    if (m_bFailureReported)
        return;
    m_bFailureReported = true;
    const std::string sReason = std::generic_category().message(iError);
    m_oOutput.LogF("CBufferedOutFile: \"%s\" could not be %s (%s); its lines are kept.",
                   CString()) %
        m_sFileName % szWhat % sReason.c_str();
}

void CBufferedOutFile::RepairTail()
{
    std::error_code oError;
    const std::filesystem::path oPath = PathOf(m_sFileName);
    const std::uintmax_t uSize = std::filesystem::file_size(oPath, oError);
    if (oError || uSize == 0)
        return;
    CFile oFile(m_sFileName, "rb");
    if (!oFile.Get())
        return;
    // Back from the end, a chunk at a time, to the last line end.
    std::uintmax_t uKeep = 0;
    std::vector<char> oChunk(k_uTailChunk);
    for (std::uintmax_t uEnd = uSize; uEnd > 0 && uKeep == 0;)
    {
        const std::uintmax_t uStart = uEnd > k_uTailChunk ? uEnd - k_uTailChunk : 0;
        // fseek takes a long, 32 bits on Win32: a tail beyond it is left as it is.
        if (uStart > static_cast<std::uintmax_t>(std::numeric_limits<long>::max()))
            return;
        const std::size_t uLength = static_cast<std::size_t>(uEnd - uStart);
        if (std::fseek(oFile.Get(), static_cast<long>(uStart), SEEK_SET) != 0 ||
            std::fread(oChunk.data(), 1, uLength, oFile.Get()) != uLength)
            return;
        for (std::size_t i = uLength; i > 0; --i)
        {
            if (oChunk[i - 1] == k_cLineEnd)
            {
                uKeep = uStart + i;
                break;
            }
        }
        uEnd = uStart;
    }
    oFile.Close();
    if (uKeep == uSize)
        return;
    std::filesystem::resize_file(oPath, uKeep, oError);
    m_oOutput.LogF("CBufferedOutFile: An unfinished last line of %u bytes was removed from \"%s\".",
                   CString()) %
        static_cast<unsigned int>(uSize - uKeep) % m_sFileName;
}

void CBufferedOutFile::OnThreadStart()
{
    {
        std::lock_guard<std::mutex> lock(m_oFileMutex);
        RepairTail();
    }
    m_poTimer.reset(new COneShotTimer([this] { OnFlushTimer(); }, GetThreadName()));
    m_poTimer->Trigger(k_uFlushInterval);
}

void CBufferedOutFile::OnThreadStop()
{
    m_poTimer.reset();
    Flush();
}

void CBufferedOutFile::OnFlushTimer()
{
    Flush();
    m_poTimer->Trigger(k_uFlushInterval);
}

} // namespace Thread
} // namespace CppUtil
