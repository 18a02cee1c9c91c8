// Bars of another frame. A capsule holds them between the two calls that it takes: one that makes them, and one that reads
// them into arrays of their number.
#include "shared.h"

static const char capsule_name[] = "sarvane._sarvane.Bars";

static void free_bars(PyObject* capsule) { SarvaneFreeBars(PyCapsule_GetPointer(capsule, capsule_name)); }

// A buffer of times: 64-bit whole numbers without gaps. 0 with an exception.
static int open_times(PyObject* object, Py_buffer* view, Py_ssize_t count, int flags) {
    if (PyObject_GetBuffer(object, view, PyBUF_C_CONTIGUOUS | PyBUF_FORMAT | flags) < 0) return 0;
    const int is_whole = view->itemsize == 8 && view->format && strchr("lq", *view->format) && view->format[1] == '\0';
    if (is_whole && view->len == count * 8) return 1;
    PyErr_Format(PyExc_TypeError, "times are %zd whole numbers of 64 bits", count);
    PyBuffer_Release(view);
    return 0;
}

// Columns of a list, each as long as `count`. 0 with an exception; what was opened must be closed all the same.
static int open_list(PyObject* list, Column* columns, Py_ssize_t size, Py_ssize_t count) {
    for (Py_ssize_t i = 0; i < size; ++i) {
        if (!open_column(PyList_GetItem(list, i), &columns[i], count)) return 0;
    }
    return 1;
}

static void close_list(Column* columns, Py_ssize_t size) {
    for (Py_ssize_t i = 0; columns && i < size; ++i) close_column(&columns[i]);
    free(columns);
}

static SarvaneBars* created(PyObject* frame, PyObject* names, const SarvaneBarsSettings* settings) {
    const Py_ssize_t count = PyTuple_Size(names);
    PyObject* const kept = PyList_New(0);
    const char** const texts = calloc((size_t)(count > 0 ? count : 1), sizeof *texts);
    const char* const frame_text = kept && texts ? zero_ended(frame, kept) : NULL;
    int are_texts = frame_text != NULL;
    for (Py_ssize_t i = 0; are_texts && i < count; ++i)
        are_texts = (texts[i] = zero_ended(PyTuple_GetItem(names, i), kept)) != NULL;
    SarvaneBars* bars = NULL;
    if (are_texts) {
        SarvaneProblem* problem = NULL;
        const SarvaneStatus status = SarvaneCreateBars(frame_text, texts, (size_t)count, settings, &bars, &problem);
        if (status != SARVANE_OK) raise_status(status, problem);
    } else if (!PyErr_Occurred()) {
        PyErr_NoMemory();
    }
    free(texts);
    Py_XDECREF(kept);
    return bars;
}

// make_bars(frame, names, are_trades, fills, times, columns): the times rise. Gives how many bars there are, and a capsule.
PyObject* make_bars(PyObject* module, PyObject* args) {
    (void)module;
    PyObject *frame, *names, *times, *list;
    SarvaneBarsSettings settings = SARVANE_BARS_SETTINGS;
    int are_trades, fills;
    if (!PyArg_ParseTuple(args, "OO!ppOO!", &frame, &PyTuple_Type, &names, &are_trades, &fills, &times, &PyList_Type, &list))
        return NULL;
    settings.areTrades = are_trades;
    settings.fills = fills;
    const Py_ssize_t size = PyList_Size(list), count = PyObject_Size(times);
    if (count < 0) return NULL;
    if (size != PyTuple_Size(names)) {
        PyErr_SetString(PyExc_ValueError, "there must be a name for each column");
        return NULL;
    }
    SarvaneBars* bars = created(frame, names, &settings);
    if (!bars) return NULL;
    Column* const columns = calloc((size_t)size + 1, sizeof *columns);
    SarvaneInput* const inputs = calloc((size_t)size + 1, sizeof *inputs);
    Py_buffer view;
    PyObject* made = NULL;
    if (!columns || !inputs) {
        PyErr_NoMemory();
    } else if (open_list(list, columns, size, count) && open_times(times, &view, count, 0)) {
        for (Py_ssize_t i = 0; i < size; ++i) inputs[i] = columns[i].input;
        SarvaneStatus status;
        Py_BEGIN_ALLOW_THREADS;
        status = SarvaneTakeRows(bars, (size_t)count, view.buf, inputs, NULL, NULL);
        Py_END_ALLOW_THREADS;
        PyBuffer_Release(&view);
        PyObject* const capsule = succeeded(status) ? PyCapsule_New(bars, capsule_name, free_bars) : NULL;
        if (capsule) {
            made = Py_BuildValue("nN", (Py_ssize_t)SarvaneCountBars(bars), capsule);
            bars = NULL;  // the capsule's
        }
    }
    SarvaneFreeBars(bars);
    close_list(columns, size);
    free(inputs);
    return made;
}

// read_bars(capsule, count, times, columns): into arrays of `count` whole numbers and doubles.
PyObject* read_bars(PyObject* module, PyObject* args) {
    (void)module;
    PyObject *capsule, *times, *list;
    Py_ssize_t count;
    if (!PyArg_ParseTuple(args, "OnOO!", &capsule, &count, &times, &PyList_Type, &list)) return NULL;
    SarvaneBars* const bars = PyCapsule_GetPointer(capsule, capsule_name);
    if (!bars) return NULL;
    const Py_ssize_t size = PyList_Size(list);
    Column* const columns = calloc((size_t)size + 1, sizeof *columns);
    SarvaneOutput* const outputs = calloc((size_t)size + 1, sizeof *outputs);
    Py_buffer view;
    int is_read = 0;
    if (!columns || !outputs) {
        PyErr_NoMemory();
    } else if (open_list(list, columns, size, count) && open_times(times, &view, count, PyBUF_WRITABLE)) {
        int can_write = 1;
        for (Py_ssize_t i = 0; i < size; ++i) {
            can_write = can_write && !columns[i].copied && !columns[i].view.readonly;
            outputs[i].first = (double*)columns[i].input.first;
            outputs[i].stride = columns[i].input.stride;
        }
        if (can_write)
            is_read = succeeded(SarvaneReadBars(bars, 0, (size_t)count, view.buf, outputs));
        else
            PyErr_SetString(PyExc_TypeError, "bars go into arrays of doubles that can be written");
        for (Py_ssize_t i = 0; is_read && i < size; ++i) {
            for (Py_ssize_t bar = 0; bar < count; ++bar) {
                double* const value = &outputs[i].first[bar * outputs[i].stride];
                *value = outward(*value);
            }
        }
        PyBuffer_Release(&view);
    }
    close_list(columns, size);
    free(outputs);
    if (!is_read) return NULL;
    Py_RETURN_NONE;
}
