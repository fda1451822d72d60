#include "CppUtil.CompiledMsg.h"

#include "CppUtil.Exception.QlException.h"
#include "Platform/Kernel/SystemError.h"
#include "Platform/Types/WinTypes.h"

#include <exception>

namespace CppUtil
{

class CCompiledMsgImpl
{
public:
    CCompiledMsgImpl(unsigned long id, const CString& module, const CString& secondText)
        : m_ulId(id), m_sModule(module), m_sSecondText(secondText)
    {
    }

    unsigned long m_ulId;
    CString m_sModule;
    CString m_sSecondText;
};

namespace
{

const char* const k_szLoadFailure = "Could not load compiled message with ID";

} // namespace

boost::function<bool()> CCompiledMsgBase::IsShowId;

CCompiledMsgBase::CCompiledMsgBase(unsigned long id, const CString& module,
                                   const CString& secondText)
    : m_poImpl(std::make_shared<CCompiledMsgImpl>(id, module, secondText))
{
}

CCompiledMsgBase::CCompiledMsgBase(const CCompiledMsgBase& other) = default;
CCompiledMsgBase& CCompiledMsgBase::operator=(const CCompiledMsgBase& other) = default;
CCompiledMsgBase::~CCompiledMsgBase() = default;

unsigned long CCompiledMsgBase::GetId() const
{
    return m_poImpl->m_ulId;
}

const CString& CCompiledMsgBase::GetModule() const
{
    return m_poImpl->m_sModule;
}

const CString& CCompiledMsgBase::GetSecondText() const
{
    return m_poImpl->m_sSecondText;
}

CString CCompiledMsgBase::LoadCStr() const
{
    const CCompiledMsgImpl& impl = *m_poImpl;
    HMODULE module =
        GetModuleHandleA(impl.m_sModule.IsEmpty() ? nullptr : impl.m_sModule.GetString());
    DWORD error = module ? ERROR_SUCCESS : GetLastError();
    CString text;
    if (module)
    {
        LPSTR buffer = nullptr;
        const DWORD length =
            FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS |
                               FORMAT_MESSAGE_ALLOCATE_BUFFER,
                           module, static_cast<DWORD>(impl.m_ulId), 0,
                           reinterpret_cast<LPSTR>(&buffer), 0, nullptr);
        error = length == 0 ? GetLastError() : ERROR_SUCCESS;
        if (length != 0)
            text = CString(buffer, static_cast<int>(length));
        if (buffer)
            LocalFree(buffer);
    }
    if (error != ERROR_SUCCESS)
    {
        CString message;
        message.Format("%s %d in module %s:\r\n%s", k_szLoadFailure, static_cast<int>(impl.m_ulId),
                       impl.m_sModule.GetString(), Platform::GetSystemErrorText(error).GetString());
        Exception::ThrowQlException(message, "CppUtil::CCompiledMsgBase::LoadCStr",
                                    "CppUtil.CompiledMsg", __LINE__);
    }
    return text;
}

CString CCompiledMsgBase::LoadCStrWithMsgId() const
{
    const CString id = GetIdDisplayStr();
    return id.IsEmpty() ? LoadCStr() : LoadCStr() + " " + id;
}

CString CCompiledMsgBase::GetIdDisplayStr() const
{
    if (IsShowId && !IsShowId())
        return CString();
    CString id;
    id.Format("(ID %s:%lu)",
              m_poImpl->m_sModule.IsEmpty() ? "host" : m_poImpl->m_sModule.GetString(),
              m_poImpl->m_ulId);
    return id;
}

bool CCompiledMsgBase::CheckException()
{
    // Rethrowing with nothing in flight would end the program.
    if (!std::current_exception())
        return false;
    try
    {
        throw;
    }
    catch (const Exception::CQlException& e)
    {
        return CString(e.what()).Find(k_szLoadFailure) == 0;
    }
    catch (...)
    {
        return false;
    }
}

void CCompiledMsgBase::WriteToFile(std::basic_ofstream<char>& file, CString text)
{
    text.Replace("\r\n", " ");
    text.Replace("\r", " ");
    text.Replace("\n", " ");
    text.Replace("<br />", " ");
    text.Replace("->", "/");
    if (text.GetLength() > 254)
        text = text.Left(252) + "...";
    file << "[[" << text << "]]\n\n";
}

} // namespace CppUtil
