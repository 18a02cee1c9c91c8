/* A client in C, which knows the interfaces from the installed header alone. */

#define COBJMACROS
#define INITGUID
#include <zelmorop.h>

HRESULT MeanOfThreeFromC(const CLSID* id, double* mean);

HRESULT MeanOfThreeFromC(const CLSID* id, double* mean) {
    double values[] = {10.0, 11.0, 15.0};
    WCHAR period[] = L"3";
    IZelmorOp* op = NULL;
    HRESULT status = CoCreateInstance(id, NULL, CLSCTX_INPROC_SERVER, &IID_IZelmorOp, (void**)&op);
    if (FAILED(status)) return status;
    status = IZelmorOp_SetParameter(op, 1, period, NULL);
    if (SUCCEEDED(status)) status = IZelmorOp_Reset(op, 0, NULL);
    for (int i = 0; i < 3 && SUCCEEDED(status); ++i) status = IZelmorOp_Calculate(op, 1, &values[i], 1, mean);
    IZelmorOp_Release(op);
    return status;
}
