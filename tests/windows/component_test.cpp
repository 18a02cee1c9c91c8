// A client of the registered component: it knows the platform and the public headers, nothing of the module itself.

#include "sarvane/class_ids.h"
#include "sarvane/class_info.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"

#include <comcat.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace sarvane::test {
namespace {

std::wstring Wide(const GUID& id) {
    const std::u16string text = BracedText(id);
    return {text.begin(), text.end()};
}

std::wstring Value(const std::wstring& key, const wchar_t* name = nullptr) {
    wchar_t text[512];
    DWORD bytes = sizeof text;
    const LSTATUS error = RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return error == ERROR_SUCCESS ? text : L"none";
}

bool Exists(const std::wstring& key) {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) return false;
    RegCloseKey(handle);
    return true;
}

std::vector<GUID> ClassesOfCategory() {
    ComPtr<ICatInformation> manager;
    EXPECT_EQ(CoCreateInstance(CLSID_StdComponentCategoriesMgr, nullptr, CLSCTX_INPROC_SERVER, IID_ICatInformation,
                               manager.Slot()),
              S_OK);
    ComPtr<IEnumCLSID> classes;
    GUID category = CategoryId;
    EXPECT_EQ(manager->EnumClassesOfCategories(1, &category, 0, nullptr, reinterpret_cast<IEnumGUID**>(classes.Slot())),
              S_OK);
    std::vector<GUID> ids;
    for (GUID id; classes->Next(1, &id, nullptr) == S_OK;) ids.push_back(id);
    return ids;
}

HRESULT Create(const GUID& id, const GUID& iid, void** object, IUnknown* outer = nullptr) {
    return CoCreateInstance(id, outer, CLSCTX_INPROC_SERVER, iid, object);
}

ComPtr<ITypeLib> RegisteredTypeLibrary() {
    ComPtr<ITypeLib> library;
    EXPECT_EQ(LoadRegTypeLib(TypeLibraryId, 1, 0, 0, reinterpret_cast<ITypeLib**>(library.Slot())), S_OK);
    return library;
}

// What a type library says of a class.
struct CoClass {
    std::wstring name;
    GUID id;
    bool takesBars;  // lists a second interface
};

// In the library's order.
std::vector<CoClass> CoClasses(ITypeLib& library) {
    std::vector<CoClass> classes;
    for (UINT i = 0; i < library.GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        BSTR name = nullptr;
        EXPECT_EQ(library.GetTypeInfo(i, reinterpret_cast<ITypeInfo**>(info.Slot())), S_OK);
        EXPECT_EQ(info->GetTypeAttr(&attributes), S_OK);
        EXPECT_EQ(info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr), S_OK);
        if (attributes->typekind == TKIND_COCLASS)
            classes.push_back({name, attributes->guid, attributes->cImplTypes == 2});
        SysFreeString(name);
        info->ReleaseTypeAttr(attributes);
    }
    return classes;
}

struct Outer final : IUnknown {
    STDMETHODIMP QueryInterface(const GUID& iid, void** object) override {
        if (iid == IID_IZelmorOp && inner) return inner->QueryInterface(iid, object);
        *object = iid == IID_IUnknown ? this : nullptr;
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    ULONG references = 1;
    IUnknown* inner = nullptr;
};

class Registered : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CoInitialize(nullptr), S_OK); }
    void TearDown() override { CoUninitialize(); }
};

TEST_F(Registered, EveryClassIsCreatedByIdAndByProgId) {
    const ComPtr<ITypeLib> library = RegisteredTypeLibrary();
    ASSERT_TRUE(library);
    std::map<std::wstring, bool> takeBars;
    for (const CoClass& known : CoClasses(*library.Get())) takeBars[Wide(known.id)] = known.takesBars;
    std::set<std::wstring> keywords;
    for (const GUID& id : ClassesOfCategory()) {
        const std::wstring key = L"CLSID\\" + Wide(id);
        const std::wstring keyword = Value(key + L"\\Keyword");
        SCOPED_TRACE(std::string(keyword.begin(), keyword.end()));
        keywords.insert(keyword);
        EXPECT_EQ(Value(key + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");

        wchar_t* progId = nullptr;
        ASSERT_EQ(ProgIDFromCLSID(id, &progId), S_OK);
        EXPECT_EQ(progId, Value(key + L"\\ProgID"));
        CoTaskMemFree(progId);
        // The name without a version leads to the one with it.
        const std::wstring current = Value(Value(key + L"\\VersionIndependentProgID") + L"\\CurVer");
        GUID found = {};
        ASSERT_EQ(CLSIDFromProgID(current.c_str(), &found), S_OK);
        EXPECT_TRUE(found == id);

        ComPtr<IZelmorOp> op;
        ComPtr<IZelmorOp2> bars;
        ASSERT_EQ(Create(found, IID_IZelmorOp, op.Slot()), S_OK);
        EXPECT_EQ(SUCCEEDED(op->QueryInterface(IID_IZelmorOp2, bars.Slot())), takeBars.at(Wide(id)));
        TextSlot formula = nullptr;
        ASSERT_EQ(op->GetFormula(&formula, nullptr), S_OK);
        EXPECT_NE(std::u16string(formula), u"");
        CoTaskMemFree(formula);
    }
    EXPECT_EQ(keywords.size(), std::size(ClassId::All));
}

TEST_F(Registered, AnOperatorCalculates) {
    ComPtr<IZelmorOp> average;
    ASSERT_EQ(Create(ClassId::SimAvgOp, IID_IZelmorOp, average.Slot()), S_OK);
    average->SetParameter(1, u"3", nullptr);
    average->Reset(0, nullptr);
    double out = 0.0;
    for (const double close : {10.0, 11.0, 12.0, 14.5}) average->Calculate(1, &close, 1, &out);
    EXPECT_EQ(out, 12.5);
}

TEST_F(Registered, AClassDescribesItself) {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorClassInfo> info;
    ASSERT_EQ(CoGetClassObject(ClassId::SimAvgOp, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, factory.Slot()),
              S_OK);
    ASSERT_EQ(factory->QueryInterface(IID_IZelmorClassInfo, info.Slot()), S_OK);
    TextSlot text = nullptr;
    ushort count = 0;
    double least = 0.0, greatest = 0.0;
    EXPECT_EQ(info->GetArgumentCount(&count), S_OK);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(info->GetArgumentRange(1, &least, &greatest), S_OK);
    EXPECT_EQ(least, 1.0);
    ASSERT_EQ(info->GetArgumentName(2, &text), S_OK);
    EXPECT_EQ(std::u16string(text), u"minBars");
    CoTaskMemFree(text);
}

TEST_F(Registered, EveryClassButOneIsAggregated) {
    for (const GUID& id : ClassesOfCategory()) {
        SCOPED_TRACE(id.Data1);
        Outer outer;
        void* object = nullptr;
        const HRESULT status = Create(id, IID_IUnknown, &object, &outer);
        if (id == ClassId::TrixOp) {
            EXPECT_EQ(status, CLASS_E_NOAGGREGATION);
            continue;
        }
        ASSERT_EQ(status, S_OK);
        outer.inner = static_cast<IUnknown*>(object);
        {
            ComPtr<IZelmorOp> op;
            ComPtr<IUnknown> identity;
            ASSERT_EQ(outer.QueryInterface(IID_IZelmorOp, op.Slot()), S_OK);
            EXPECT_EQ(outer.references, 2u);
            ASSERT_EQ(op->QueryInterface(IID_IUnknown, identity.Slot()), S_OK);
            EXPECT_EQ(identity.Get(), &outer);
        }
        EXPECT_EQ(outer.references, 1u);
        EXPECT_EQ(outer.inner->Release(), 0u);
    }
}

extern "C" HRESULT MeanOfThreeFromC(const CLSID* id, double* mean);

TEST_F(Registered, AClientInCCalculatesToo) {
    double mean = 0.0;
    EXPECT_EQ(MeanOfThreeFromC(&ClassId::SimAvgOp, &mean), S_OK);
    EXPECT_EQ(mean, 12.0);
}

// The name without a version has no class id below it, so it can't be looked up by itself.
TEST_F(Registered, ProgIdsNeedTheirVersion) {
    GUID found = {};
    EXPECT_EQ(CLSIDFromProgID(L"SimAvgOp.SimAvgOp.1", &found), S_OK);
    EXPECT_EQ(CLSIDFromProgID(L"SimAvgOp.SimAvgOp", &found), CO_E_CLASSSTRING);
}

// Without a proxy an operator can't be reached from a multithreaded apartment when the system makes it elsewhere. One
// that the module makes on the spot can.
TEST(RegisteredMultithreaded, OperatorsWorkWhereTheModuleMakesThem) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    {
        ComPtr<IZelmorOp> elsewhere;
        EXPECT_TRUE(FAILED(Create(ClassId::SimAvgOp, IID_IZelmorOp, elsewhere.Slot())));
    }
    const std::wstring path = Value(L"CLSID\\" + Wide(ClassId::SimAvgOp) + L"\\InprocServer32");
    const HMODULE module = LoadLibraryW(path.c_str());
    ASSERT_NE(module, nullptr);
    const auto getClassObject =
        reinterpret_cast<LPFNGETCLASSOBJECT>(reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    {
        ComPtr<IClassFactory> factory;
        ComPtr<IZelmorOp> average;
        ASSERT_EQ(getClassObject(ClassId::SimAvgOp, IID_IClassFactory, factory.Slot()), S_OK);
        ASSERT_EQ(factory->CreateInstance(nullptr, IID_IZelmorOp, average.Slot()), S_OK);
        average->SetParameter(1, u"2", nullptr);
        average->Reset(0, nullptr);
        double out = 0.0;
        for (const double close : {10.0, 11.0}) EXPECT_EQ(average->Calculate(1, &close, 1, &out), S_OK);
        EXPECT_EQ(out, 10.5);
    }
    FreeLibrary(module);
    CoUninitialize();
}

TEST_F(Registered, AThousandLoadsLeaveNothingBehind) {
    const std::wstring path = Value(L"CLSID\\" + Wide(ClassId::SimAvgOp) + L"\\InprocServer32");
    for (int round = 0; round < 1000 && !HasFailure(); ++round) {
        const HMODULE module = LoadLibraryW(path.c_str());
        ASSERT_NE(module, nullptr);
        const auto getClassObject =
            reinterpret_cast<LPFNGETCLASSOBJECT>(reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
        const auto canUnloadNow =
            reinterpret_cast<LPFNCANUNLOADNOW>(reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
        {
            ComPtr<IClassFactory> factory;
            ComPtr<IZelmorOp> op;
            EXPECT_EQ(getClassObject(ClassId::MedianOp, IID_IClassFactory, factory.Slot()), S_OK);
            EXPECT_EQ(factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot()), S_OK);
            EXPECT_EQ(op->SaveState(20), S_OK);
            EXPECT_EQ(canUnloadNow(), S_FALSE);
        }
        EXPECT_EQ(canUnloadNow(), S_OK);
        FreeLibrary(module);
        EXPECT_EQ(GetModuleHandleW(L"SARVANE.DLL"), nullptr);
    }
}

TEST_F(Registered, TheModuleGoesWithItsLastObject) {
    ComPtr<IZelmorOp> op;
    ASSERT_EQ(Create(ClassId::SimAvgOp, IID_IZelmorOp, op.Slot()), S_OK);
    CoFreeUnusedLibrariesEx(0, 0);
    EXPECT_NE(GetModuleHandleW(L"SARVANE.DLL"), nullptr);
    op.Reset();
    CoFreeUnusedLibrariesEx(0, 0);
    EXPECT_EQ(GetModuleHandleW(L"SARVANE.DLL"), nullptr);
}

TEST_F(Registered, TheTypeLibraryListsTheClasses) {
    const ComPtr<ITypeLib> library = RegisteredTypeLibrary();
    ASSERT_TRUE(library);
    BSTR name = nullptr, help = nullptr;
    ASSERT_EQ(library->GetDocumentation(-1, &name, &help, nullptr, nullptr), S_OK);
    EXPECT_STREQ(name, L"SARVANELib");
    EXPECT_STREQ(help, L"sarvane 1.0 Type Library");
    SysFreeString(name);
    SysFreeString(help);

    const auto classes = CoClasses(*library.Get());
    ASSERT_EQ(classes.size(), std::size(ClassId::All));
    EXPECT_EQ(classes.front().name, L"SimAvgOp");
    EXPECT_EQ(classes[12].name, L"KasePermStochOp");
    EXPECT_EQ(classes.back().name, L"ExHullAvgOp");
}

// An interface as the type library beside the module describes it.
ComPtr<ITypeInfo> InterfaceInfo(const GUID& iid) {
    const std::filesystem::path module = Value(L"CLSID\\" + Wide(ClassId::SimAvgOp) + L"\\InprocServer32");
    const std::wstring path = module.parent_path().append(L"zelmorop.tlb");
    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> info;
    EXPECT_EQ(LoadTypeLib(path.c_str(), reinterpret_cast<ITypeLib**>(library.Slot())), S_OK);
    if (!library) return info;
    EXPECT_EQ(library->GetTypeInfoOfGuid(iid, reinterpret_cast<ITypeInfo**>(info.Slot())), S_OK);
    return info;
}

// Clients of other languages call the methods by their places in the type library, the module by those of the header.
TEST_F(Registered, TheTypeLibraryListsTheMethodsOfClassInfo) {
    const ComPtr<ITypeInfo> info = InterfaceInfo(IID_IZelmorClassInfo);
    ASSERT_TRUE(info);
    const wchar_t* const methods[] = {
        L"GetKeyword",       L"GetName",         L"GetSentence",        L"GetArgumentCount",
        L"GetArgumentName",  L"GetArgumentKind", L"GetArgumentMeaning", L"GetArgumentDefault",
        L"GetArgumentRange", L"GetArgumentUse",  L"GetWordCount",       L"GetWord",
        L"GetOutputCount",   L"GetOutputName",   L"GetOutputMeaning",   L"GetOutputDrawing"};
    UINT place = 0;
    for (const wchar_t* const method : methods) {
        FUNCDESC* described = nullptr;
        BSTR name = nullptr;
        ASSERT_EQ(info->GetFuncDesc(place, &described), S_OK);
        EXPECT_EQ(info->GetDocumentation(described->memid, &name, nullptr, nullptr, nullptr), S_OK);
        EXPECT_STREQ(name, method);
        EXPECT_EQ(described->oVft, static_cast<short>((3 + place) * sizeof(void*)));
        SysFreeString(name);
        info->ReleaseFuncDesc(described);
        ++place;
    }
}

// Importers turn these types into their own: a text must not look like an address of numbers.
TEST_F(Registered, TheTypeLibraryOfTheInterfacesHoldsTexts) {
    const ComPtr<ITypeInfo> info = InterfaceInfo(IID_IZelmorOp);
    ASSERT_TRUE(info);
    MEMBERID setParameter = 0;
    wchar_t name[] = L"SetParameter";
    wchar_t* names = name;
    ASSERT_EQ(info->GetIDsOfNames(&names, 1, &setParameter), S_OK);
    for (UINT i = 0;; ++i) {
        FUNCDESC* method = nullptr;
        ASSERT_EQ(info->GetFuncDesc(i, &method), S_OK) << "not among the methods";
        const bool found = method->memid == setParameter;
        if (found) {
            ASSERT_EQ(method->cParams, 3);
            EXPECT_EQ(method->lprgelemdescParam[0].tdesc.vt, VT_I2);
            EXPECT_EQ(method->lprgelemdescParam[1].tdesc.vt, VT_LPWSTR);
            EXPECT_EQ(method->lprgelemdescParam[1].paramdesc.wParamFlags, PARAMFLAG_FIN);
            ASSERT_EQ(method->lprgelemdescParam[2].tdesc.vt, VT_PTR);
            EXPECT_EQ(method->lprgelemdescParam[2].tdesc.lptdesc->vt, VT_LPWSTR);
        }
        info->ReleaseFuncDesc(method);
        if (found) break;
    }
}

TEST_F(Registered, TheModuleHoldsTheScriptsByTheirIds) {
    const std::wstring path = Value(L"CLSID\\" + Wide(ClassId::SimAvgOp) + L"\\InprocServer32");
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(module, nullptr);
    const std::map<WORD, std::string> keywords = {{101, "Sim"}, {132, "MedOp"}, {131, "SBarMul"}, {144, "ExHull"}};
    for (const auto& [id, keyword] : keywords) {
        const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), L"REGISTRY");
        ASSERT_NE(found, nullptr) << id;
        const auto* const text = static_cast<const char*>(LockResource(LoadResource(module, found)));
        const std::string_view script(text, SizeofResource(module, found));
        EXPECT_NE(script.find("Keyword = s '" + keyword + "'"), std::string_view::npos);
    }
    EXPECT_NE(FindResourceA(module, MAKEINTRESOURCEA(1), RT_VERSION), nullptr);
    FreeLibrary(module);
}

// Run after the component was taken out of the registry.
TEST(Removed, OnlyTheTypeLibraryStays) {
    const ComPtr<ITypeLib> library = RegisteredTypeLibrary();
    ASSERT_TRUE(library);
    const auto classes = CoClasses(*library.Get());
    ASSERT_EQ(classes.size(), std::size(ClassId::All));
    for (const auto& [name, id, takesBars] : classes) {
        for (const std::wstring& key : {L"CLSID\\" + Wide(id), name + L"." + name, name + L"." + name + L".1"})
            EXPECT_FALSE(Exists(key)) << std::string(key.begin(), key.end());
    }
    EXPECT_FALSE(Exists(L"Component Categories\\" + Wide(CategoryId)));
    EXPECT_TRUE(Exists(L"CLSID"));
    EXPECT_TRUE(Exists(L"Component Categories"));
}

}  // namespace
}  // namespace sarvane::test
