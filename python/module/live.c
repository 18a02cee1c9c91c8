// A study that takes bars as they come. It steps the study itself, which is fast; the first correction of an older bar,
// and operators that keep no snapshots, take a series, which goes through all bars again and then keeps its own snapshots.
#include "shared.h"

#include <limits.h>

enum { MostSlots = 32766 };  // of users' snapshots; the one above the last of these is the state before the last bar

// A bar that was corrected after a save.
typedef struct Undo {
    size_t bar;
    double* row;
} Undo;

typedef struct Saved {
    int slot;
    size_t count;      // bars
    double* last;      // row of the last one
    int has_snapshot;  // of the state before the last bar, in the slot
    Undo* undo;
    size_t undo_count;
} Saved;

typedef struct Live {
    PyObject_HEAD
    SarvaneStudy* study;
    SarvaneSeries* series;  // once it is needed
    PyObject* names;        // a tuple of the columns
    Py_ssize_t column_count, result_count;
    char* is_label;   // by result
    double* row;      // the bar that comes
    double* results;  // of the last bar
    double* rows;     // all bars
    size_t count, capacity;
    Saved* saved;  // rising slots; their counts rise, too
    size_t saved_count;
    int tick_slot;  // with the state before the last bar
    SarvaneSeriesSettings settings;
    int nan_is_gap;
    int is_lost;  // a step has failed, so that a series must begin
} Live;

// ---- Bars

static int take_value(const Live* live, PyObject* value, double* taken) {
    if (value == Py_None) {
        *taken = SARVANE_UNDEFINED;
        return 1;
    }
    const double number = PyFloat_AsDouble(value);
    if (number == -1.0 && PyErr_Occurred()) return 0;
    *taken = live->nan_is_gap && number != number ? SARVANE_UNDEFINED : number;
    return 1;
}

static int take_dict(Live* live, PyObject* bar) {
    for (Py_ssize_t i = 0; i < live->column_count; ++i) {
        PyObject* const value = PyDict_GetItemWithError(bar, PyTuple_GetItem(live->names, i));
        if (!value || !take_value(live, value, &live->row[i])) return 0;
    }
    return 1;
}

static int take_list(Live* live, PyObject* bar) {
    const int is_tuple = PyTuple_Check(bar);
    const Py_ssize_t count = is_tuple ? PyTuple_Size(bar) : PyList_Size(bar);
    if (count != live->column_count) {
        PyErr_Format(PyExc_ValueError, "a bar of %zd values, where the columns are %R", count, live->names);
        return 0;
    }
    for (Py_ssize_t i = 0; i < count; ++i) {
        if (!take_value(live, is_tuple ? PyTuple_GetItem(bar, i) : PyList_GetItem(bar, i), &live->row[i])) return 0;
    }
    return 1;
}

// Fills the row. Any other kind of bar is left to the method _row.
static int take_bar(Live* live, PyObject* bar) {
    if (PyFloat_Check(bar) && live->column_count == 1) return take_value(live, bar, live->row);
    if (PyDict_Check(bar)) {
        if (take_dict(live, bar)) return 1;
        if (PyErr_Occurred()) return 0;
    }
    if (PyTuple_Check(bar) || PyList_Check(bar)) return take_list(live, bar);
    PyObject* const row = PyObject_CallMethod((PyObject*)live, "_row", "O", bar);
    const int is_taken = row && PyList_Check(row) && take_list(live, row);
    if (row && !PyList_Check(row)) PyErr_SetString(PyExc_TypeError, "_row must give a list");
    Py_XDECREF(row);
    return is_taken;
}

static double* row_of(const Live* live, size_t bar) { return live->rows + bar * (size_t)live->column_count; }

static size_t row_size(const Live* live) { return (size_t)live->column_count * sizeof(double); }

static int make_room(Live* live) {
    if (live->count < live->capacity) return 1;
    const size_t capacity = live->capacity ? 2 * live->capacity : 64;
    double* const rows = realloc(live->rows, capacity * (row_size(live) + !live->column_count));
    if (!rows) {
        PyErr_NoMemory();
        return 0;
    }
    live->rows = rows;
    live->capacity = capacity;
    return 1;
}

// ---- Results

static PyObject* result_at(const Live* live, Py_ssize_t result) {
    return result_object(live->results[result], live->is_label[result]);
}

static PyObject* all_results(const Live* live) {
    PyObject* const tuple = PyTuple_New(live->result_count);
    for (Py_ssize_t i = 0; tuple && i < live->result_count; ++i) {
        PyObject* const value = result_at(live, i);
        if (!value) {
            Py_DECREF(tuple);
            return NULL;
        }
        PyTuple_SetItem(tuple, i, value);
    }
    return tuple;
}

// What the calls that change bars answer.
static PyObject* answer(const Live* live) { return live->result_count == 1 ? result_at(live, 0) : all_results(live); }

static void forget_results(Live* live) {
    for (Py_ssize_t i = 0; i < live->result_count; ++i) live->results[i] = SARVANE_UNDEFINED;
}

// ---- The series

static SarvaneStatus read_last_results(Live* live) {
    if (live->count == 0) {
        forget_results(live);
        return SARVANE_OK;
    }
    return SarvaneReadResults(live->series, live->count - 1, 1, live->results);
}

// Has the series hold the live bars from `first` on.
static SarvaneStatus rewrite(Live* live, size_t first) {
    const size_t count = live->count - first;
    int64_t* const times = malloc((count + 1) * sizeof *times);
    if (!times) return SARVANE_OUT_OF_MEMORY;
    for (size_t i = 0; i < count; ++i) times[i] = (int64_t)(first + i);
    const SarvaneStatus status =
        SarvaneRewriteBars(live->series, first, count, times, live->rows ? row_of(live, first) : live->results);
    free(times);
    return status == SARVANE_OK ? read_last_results(live) : status;
}

static SarvaneStatus begin_series(Live* live) {
    if (live->series) return SARVANE_OK;
    SarvaneStatus status = SarvaneCreateSeries(live->study, &live->settings, &live->series);
    if (status == SARVANE_OK) status = rewrite(live, 0);
    if (status != SARVANE_OK) {
        SarvaneFreeSeries(live->series);
        live->series = NULL;
    }
    return status;
}

// ---- Bars come and change

static SarvaneStatus step(Live* live, size_t bar, const double* row) {
    return SarvaneStep(live->study, (int64_t)bar, row, live->results);
}

// Operators keep records up to the highest slot that is used: it is no higher than it must be.
static SarvaneStatus save_tick(Live* live) {
    live->tick_slot = live->saved_count > 0 ? live->saved[live->saved_count - 1].slot + 1 : 1;
    return SarvaneSave(live->study, live->tick_slot);
}

static SarvaneStatus add_bar(Live* live) {
    if (live->is_lost) {
        const SarvaneStatus status = begin_series(live);
        if (status != SARVANE_OK) return status;
    }
    SarvaneStatus status;
    if (live->series) {
        status = SarvaneAppendBar(live->series, (int64_t)live->count, live->row);
    } else {
        status = save_tick(live);
        if (status == SARVANE_OK) status = step(live, live->count, live->row);
    }
    if (status != SARVANE_OK) {
        SarvaneFreeSeries(live->series);  // the next call begins one over the bars that stand
        live->series = NULL;
        live->is_lost = 1;
        return status;
    }
    memcpy(row_of(live, live->count), live->row, row_size(live));
    ++live->count;
    return live->series ? read_last_results(live) : SARVANE_OK;
}

static SarvaneStatus change_last_bar(Live* live) {
    SarvaneStatus status = live->is_lost ? begin_series(live) : SARVANE_OK;
    if (status != SARVANE_OK) return status;
    if (live->series) {
        status = SarvaneChangeLastBar(live->series, live->row);
    } else {
        status = SarvaneRestore(live->study, live->tick_slot);
        if (status == SARVANE_OK) status = step(live, live->count - 1, live->row);
    }
    if (status != SARVANE_OK) {
        SarvaneFreeSeries(live->series);
        live->series = NULL;
        live->is_lost = 1;
        return status;
    }
    memcpy(row_of(live, live->count - 1), live->row, row_size(live));
    return live->series ? read_last_results(live) : SARVANE_OK;
}

// Keeps the row of an older bar for the saves that have it.
static int keep_for_saves(Live* live, size_t bar) {
    for (size_t i = 0; i < live->saved_count; ++i) {
        Saved* const saved = &live->saved[i];
        int is_kept = bar + 1 >= saved->count;  // the last row is kept anyway
        for (size_t n = 0; !is_kept && n < saved->undo_count; ++n) is_kept = saved->undo[n].bar == bar;
        if (is_kept) continue;
        Undo* const undo = realloc(saved->undo, (saved->undo_count + 1) * sizeof *undo);
        if (undo) saved->undo = undo;
        double* const row = undo ? malloc(row_size(live) + 1) : NULL;
        if (!row) return 0;
        memcpy(row, row_of(live, bar), row_size(live));
        saved->undo[saved->undo_count++] = (Undo){bar, row};
    }
    return 1;
}

static SarvaneStatus correct_bar(Live* live, size_t bar) {
    if (bar + 1 == live->count) return change_last_bar(live);
    SarvaneStatus status = begin_series(live);
    if (status == SARVANE_OK && !keep_for_saves(live, bar)) status = SARVANE_OUT_OF_MEMORY;
    if (status != SARVANE_OK) return status;
    status = SarvaneCorrectBar(live->series, bar, live->row);
    if (status != SARVANE_OK) {
        SarvaneFreeSeries(live->series);
        live->series = NULL;
        live->is_lost = 1;
        return status;
    }
    memcpy(row_of(live, bar), live->row, row_size(live));
    return read_last_results(live);
}

static PyObject* live_append(PyObject* self, PyObject* const* args, Py_ssize_t count) {
    Live* const live = (Live*)self;
    if (count == 2) return PyObject_CallMethod(self, "_append_at", "OO", args[0], args[1]);
    if (count != 1) {
        PyErr_SetString(PyExc_TypeError, "append takes a bar, and perhaps its time");
        return NULL;
    }
    if (!take_bar(live, args[0]) || !make_room(live) || !succeeded(add_bar(live))) return NULL;
    return answer(live);
}

static int has_bars(const Live* live) {
    if (live->count == 0) PyErr_SetString(PyExc_IndexError, "there is no bar yet");
    return live->count > 0;
}

static PyObject* live_tick(PyObject* self, PyObject* bar) {
    Live* const live = (Live*)self;
    if (!has_bars(live) || !take_bar(live, bar) || !succeeded(change_last_bar(live))) return NULL;
    return answer(live);
}

// _correct(index, bar)
static PyObject* live_correct(PyObject* self, PyObject* args) {
    Live* const live = (Live*)self;
    Py_ssize_t index;
    PyObject* bar;
    if (!PyArg_ParseTuple(args, "nO", &index, &bar)) return NULL;
    if (index < 0 || (size_t)index >= live->count) {
        PyErr_Format(PyExc_IndexError, "there is no bar %zd of %zu", index, live->count);
        return NULL;
    }
    if (!take_bar(live, bar) || !succeeded(correct_bar(live, (size_t)index))) return NULL;
    return answer(live);
}

// ---- Saves

static void free_saved(Saved* saved) {
    for (size_t i = 0; i < saved->undo_count; ++i) free(saved->undo[i].row);
    free(saved->undo);
    free(saved->last);
}

static void forget_above(Live* live, int slot) {
    while (live->saved_count > 0 && live->saved[live->saved_count - 1].slot > slot)
        free_saved(&live->saved[--live->saved_count]);
}

static int take_slot(PyObject* object, int* slot) {
    const long number = PyLong_AsLong(object);
    if (number == -1 && PyErr_Occurred()) return 0;
    if (number < 1 || number > MostSlots) PyErr_Format(PyExc_ValueError, "slots go from 1 to %d", MostSlots);
    *slot = (int)number;
    return number >= 1 && number <= MostSlots;
}

// Makes a place for the slot, behind which there is none.
static Saved* add_saved(Live* live, int slot, const double* last) {
    forget_above(live, slot - 1);
    Saved* const all = realloc(live->saved, (live->saved_count + 1) * sizeof *all);
    if (all) live->saved = all;
    double* const row = all ? malloc(row_size(live) + 1) : NULL;
    if (!row) return NULL;
    if (live->count > 0) memcpy(row, last, row_size(live));
    Saved* const saved = &live->saved[live->saved_count++];
    *saved = (Saved){slot, live->count, row, 0, NULL, 0};
    return saved;
}

// The state before the last bar, from which both the saved bar and its ticks can be had.
static SarvaneStatus save_snapshot(Live* live, int slot) {
    if (live->count == 0) return SarvaneSave(live->study, slot);
    SarvaneStatus status = SarvaneRestore(live->study, live->tick_slot);
    if (status == SARVANE_OK) status = SarvaneSave(live->study, slot);
    if (status == SARVANE_OK) status = save_tick(live);
    if (status == SARVANE_OK) status = step(live, live->count - 1, row_of(live, live->count - 1));
    if (status != SARVANE_OK) live->is_lost = 1;
    return status;
}

static PyObject* live_save(PyObject* self, PyObject* object) {
    Live* const live = (Live*)self;
    int slot;
    if (!take_slot(object, &slot)) return NULL;
    Saved* const saved = add_saved(live, slot, live->count > 0 ? row_of(live, live->count - 1) : NULL);
    if (!saved) return PyErr_NoMemory();
    if (!live->series && !live->is_lost) {
        const SarvaneStatus status = save_snapshot(live, slot);
        if (status != SARVANE_OK) {
            forget_above(live, slot - 1);
            raise_status(status, NULL);
            return NULL;
        }
        saved->has_snapshot = 1;
    }
    Py_RETURN_NONE;
}

static SarvaneStatus restore_snapshot(Live* live, const Saved* saved) {
    SarvaneStatus status = SarvaneRestore(live->study, saved->slot);
    if (status == SARVANE_OK && saved->count == 0) {
        forget_results(live);
        return SARVANE_OK;
    }
    if (status == SARVANE_OK) status = save_tick(live);
    if (status == SARVANE_OK) status = step(live, saved->count - 1, saved->last);
    if (status != SARVANE_OK) live->is_lost = 1;
    return status;
}

static PyObject* live_restore(PyObject* self, PyObject* object) {
    Live* const live = (Live*)self;
    int slot;
    if (!take_slot(object, &slot)) return NULL;
    size_t place = 0;
    while (place < live->saved_count && live->saved[place].slot != slot) ++place;
    if (place == live->saved_count) {
        PyErr_Format(PyExc_LookupError, "nothing is saved in slot %d", slot);
        return NULL;
    }
    forget_above(live, slot);
    Saved* const saved = &live->saved[place];
    const int steps = !live->series && !live->is_lost && saved->has_snapshot;
    SarvaneStatus status = steps ? restore_snapshot(live, saved) : begin_series(live);
    if (status == SARVANE_OK) {
        size_t first = saved->count > 0 ? saved->count - 1 : 0;
        for (size_t i = 0; i < saved->undo_count; ++i) {
            const Undo* const undo = &saved->undo[i];
            memcpy(row_of(live, undo->bar), undo->row, row_size(live));
            free(undo->row);
            if (undo->bar < first) first = undo->bar;
        }
        saved->undo_count = 0;
        live->count = saved->count;
        if (saved->count > 0) memcpy(row_of(live, saved->count - 1), saved->last, row_size(live));
        if (!steps) status = rewrite(live, first);
        if (status != SARVANE_OK) {
            SarvaneFreeSeries(live->series);
            live->series = NULL;
            live->is_lost = 1;
        }
    }
    if (!succeeded(status)) return NULL;
    Py_RETURN_NONE;
}

// ---- What a live study holds

static PyObject* live_results(PyObject* self, PyObject* none) {
    (void)none;
    return all_results((Live*)self);
}

// __len__: the bars so far
static Py_ssize_t live_length(PyObject* self) { return (Py_ssize_t)((Live*)self)->count; }

static PyObject* row_bytes(const Live* live, const double* rows, size_t count) {
    return PyBytes_FromStringAndSize(rows ? (const char*)rows : "", (Py_ssize_t)(rows ? count * row_size(live) : 0));
}

// _state(): the bars as bytes, and a list of saves: slot, count, last row, and the rows that were corrected since
static PyObject* live_state(PyObject* self, PyObject* none) {
    (void)none;
    const Live* const live = (Live*)self;
    PyObject* const saves = PyList_New(0);
    for (size_t i = 0; saves && i < live->saved_count; ++i) {
        const Saved* const saved = &live->saved[i];
        PyObject* const undo = PyList_New(0);
        for (size_t n = 0; undo && n < saved->undo_count; ++n) {
            PyObject* const one = Py_BuildValue("(nN)", (Py_ssize_t)saved->undo[n].bar, row_bytes(live, saved->undo[n].row, 1));
            if (one) PyList_Append(undo, one);
            Py_XDECREF(one);
        }
        PyObject* const save =
            Py_BuildValue("(inNN)", saved->slot, (Py_ssize_t)saved->count, row_bytes(live, saved->last, 1), undo);
        if (save) PyList_Append(saves, save);
        Py_XDECREF(save);
    }
    if (PyErr_Occurred()) {
        Py_XDECREF(saves);
        return NULL;
    }
    return Py_BuildValue("(NN)", row_bytes(live, live->rows, live->count), saves);
}

static int take_row(const Live* live, PyObject* bytes, double* row) {
    const int fits = bytes && PyBytes_Check(bytes) && (size_t)PyBytes_Size(bytes) == row_size(live);
    if (fits) memcpy(row, PyBytes_AsString(bytes), row_size(live));
    return fits;
}

// One save of _state.
static int take_save(Live* live, PyObject* save) {
    int slot;
    Py_ssize_t count;
    PyObject *last, *undo;
    if (!PyArg_ParseTuple(save, "inO!O!", &slot, &count, &PyBytes_Type, &last, &PyList_Type, &undo)) return 0;
    const size_t before = live->saved_count;
    const int follows = slot >= 1 && slot <= MostSlots && count >= 0 && (size_t)count <= live->count &&
                        (before == 0 || slot > live->saved[before - 1].slot);
    if (!follows || !take_row(live, last, live->row)) return 0;
    Saved* const saved = add_saved(live, slot, live->row);
    if (!saved) return 0;
    saved->count = (size_t)count;
    memcpy(saved->last, live->row, row_size(live));
    for (Py_ssize_t i = 0; i < PyList_Size(undo); ++i) {
        Py_ssize_t bar;
        PyObject* row;
        if (!PyArg_ParseTuple(PyList_GetItem(undo, i), "nO!", &bar, &PyBytes_Type, &row)) return 0;
        Undo* const all = realloc(saved->undo, (saved->undo_count + 1) * sizeof *all);
        if (all) saved->undo = all;
        double* const kept = all ? malloc(row_size(live) + 1) : NULL;
        if (!kept || bar < 0 || bar >= count || !take_row(live, row, kept)) {
            free(kept);
            return 0;
        }
        saved->undo[saved->undo_count++] = (Undo){(size_t)bar, kept};
    }
    return 1;
}

// _set_state(bars as bytes, saves): of a study without bars
static PyObject* live_set_state(PyObject* self, PyObject* args) {
    Live* const live = (Live*)self;
    PyObject *bytes, *saves;
    if (!PyArg_ParseTuple(args, "O!O!", &PyBytes_Type, &bytes, &PyList_Type, &saves)) return NULL;
    const size_t size = (size_t)PyBytes_Size(bytes), row = row_size(live);
    if (live->count > 0 || (row == 0 ? size > 0 : size % row != 0)) {
        PyErr_SetString(PyExc_ValueError, "this is no state of this study");
        return NULL;
    }
    for (size_t at = 0; at < size; at += row) {
        memcpy(live->row, PyBytes_AsString(bytes) + at, row);
        if (!make_room(live) || !succeeded(add_bar(live))) return NULL;
    }
    for (Py_ssize_t i = 0; i < PyList_Size(saves); ++i) {
        if (take_save(live, PyList_GetItem(saves, i))) continue;
        if (!PyErr_Occurred()) PyErr_SetString(PyExc_ValueError, "this is no state of this study");
        return NULL;
    }
    Py_RETURN_NONE;
}

// ---- The type

static void live_dealloc(PyObject* self) {
    Live* const live = (Live*)self;
    PyTypeObject* const type = Py_TYPE(self);
    forget_above(live, 0);
    free(live->saved);
    SarvaneFreeSeries(live->series);
    SarvaneFreeStudy(live->study);
    Py_XDECREF(live->names);
    free(live->is_label);
    free(live->row);
    free(live->results);
    free(live->rows);
    ((freefunc)PyType_GetSlot(type, Py_tp_free))(self);
    Py_DECREF(type);
}

static int read_labels(Live* live) {
    for (Py_ssize_t i = 0; i < live->result_count; ++i) {
        SarvaneResultInfo info;
        if (!succeeded(SarvaneGetResultInfo(live->study, (size_t)i, &info))) return 0;
        live->is_label[i] = (char)info.isLabel;
    }
    return 1;
}

static SarvaneStatus start(Live* live) {
    const SarvaneRunSettings settings = {-1, live->settings.priceStep, live->settings.holdsInputs, 0};
    SarvaneStudyInfo info;
    SarvaneStatus status = SarvaneReset(live->study, &settings);
    if (status == SARVANE_OK) status = SarvaneGetStudyInfo(live->study, &info);
    // Operators without snapshots can't go back: all their bars are run again.
    if (status == SARVANE_OK && !info.keepsSnapshots) status = begin_series(live);
    return status;
}

// Live(compiled, names, nan_is_gap, holds_inputs, price_step)
static PyObject* live_new(PyTypeObject* type, PyObject* args, PyObject* keywords) {
    (void)keywords;
    Compiled* compiled;
    PyObject* names;
    int nan_is_gap, holds_inputs;
    double price_step;
    if (!PyArg_ParseTuple(args, "O!O!ppd", compiled_type, &compiled, &PyTuple_Type, &names, &nan_is_gap, &holds_inputs,
                          &price_step))
        return NULL;
    if (PyTuple_Size(names) != compiled->column_count) {
        PyErr_SetString(PyExc_ValueError, "as many names as columns are needed");
        return NULL;
    }
    Live* const live = (Live*)((allocfunc)PyType_GetSlot(type, Py_tp_alloc))(type, 0);
    if (!live) return NULL;
    Py_INCREF(names);
    live->names = names;
    live->column_count = compiled->column_count;
    live->result_count = compiled->result_count;
    live->settings = (SarvaneSeriesSettings)SARVANE_SERIES_SETTINGS;
    live->settings.priceStep = price_step;
    live->settings.holdsInputs = holds_inputs;
    live->nan_is_gap = nan_is_gap;
    live->is_label = calloc((size_t)live->result_count + 1, 1);
    live->row = calloc((size_t)live->column_count + 1, sizeof(double));
    live->results = calloc((size_t)live->result_count + 1, sizeof(double));
    const int has_memory = live->is_label && live->row && live->results;
    if (!has_memory) PyErr_NoMemory();
    if (has_memory) forget_results(live);
    if (!has_memory || !succeeded(SarvaneCopyStudy(compiled->study, &live->study)) || !read_labels(live) ||
        !succeeded(start(live))) {
        Py_DECREF(live);
        return NULL;
    }
    return (PyObject*)live;
}

static PyMethodDef live_methods[] = {
    {"append", (PyCFunction)(void (*)(void))live_append, METH_FASTCALL,
     "append(bar, time=None)\n\nTakes in the next bar, and gives the values on it. A time, where one is given, comes after that of "
     "the bar before."},
    {"tick", live_tick, METH_O,
     "tick(bar)\n\nGives the last bar other values, as often as is wanted, and gives the results with them."},
    {"_correct", live_correct, METH_VARARGS, NULL},
    {"save", live_save, METH_O,
     "save(slot)\n\nKeeps the present state in a slot, 1 to 32766. The slots above it are forgotten."},
    {"restore", live_restore, METH_O,
     "restore(slot)\n\nGoes back to what save put into a slot. The slots above it are forgotten."},
    {"_results", live_results, METH_NOARGS, NULL},
    {"_state", live_state, METH_NOARGS, NULL},
    {"_set_state", live_set_state, METH_VARARGS, NULL},
    {NULL, NULL, 0, NULL},
};

static PyType_Slot live_slots[] = {
    {Py_tp_new, live_new},
    {Py_tp_dealloc, live_dealloc},
    {Py_tp_methods, live_methods},
    {Py_sq_length, live_length},
    {0, NULL},
};

PyType_Spec live_spec = {"sarvane._sarvane.Live", sizeof(Live), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, live_slots};
