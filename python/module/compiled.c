// Expressions compiled over columns, and runs over whole columns.
#include "shared.h"

PyTypeObject* compiled_type = NULL;

static void release_columns(Column* columns, Py_ssize_t count) {
    for (Py_ssize_t i = 0; columns && i < count; ++i) close_column(&columns[i]);
    free(columns);
}

// The columns of a sequence; None stands for one that isn't needed. Null with an exception.
static Column* open_columns(PyObject* sequence, Py_ssize_t expected, Py_ssize_t count) {
    const Py_ssize_t size = PySequence_Size(sequence);
    if (size != expected) {
        if (!PyErr_Occurred()) PyErr_Format(PyExc_ValueError, "%zd columns where %zd are needed", size, expected);
        return NULL;
    }
    Column* const columns = calloc(size > 0 ? (size_t)size : 1, sizeof *columns);
    if (!columns) {
        PyErr_NoMemory();
        return NULL;
    }
    for (Py_ssize_t i = 0; i < size; ++i) {
        PyObject* const item = PySequence_GetItem(sequence, i);
        const int is_open = item && (item == Py_None || open_column(item, &columns[i], count));
        Py_XDECREF(item);
        if (!is_open) {
            release_columns(columns, size);
            return NULL;
        }
    }
    return columns;
}

static void compiled_dealloc(PyObject* object) {
    PyTypeObject* const type = Py_TYPE(object);
    SarvaneFreeStudy(((Compiled*)object)->study);
    ((freefunc)PyType_GetSlot(type, Py_tp_free))(object);
    Py_DECREF(type);
}

// The UTF-8 bytes of a text, in a new object. Null with an exception.
static PyObject* utf8(PyObject* text) {
    if (!PyUnicode_Check(text)) {
        PyErr_SetString(PyExc_TypeError, "a text is needed here");
        return NULL;
    }
    return PyUnicode_AsUTF8String(text);
}

const char* zero_ended(PyObject* text, PyObject* kept) {
    PyObject* const bytes = utf8(text);
    if (!bytes) return NULL;
    const char* const letters = PyBytes_AsString(bytes);
    const int is_plain = letters && strlen(letters) == (size_t)PyBytes_Size(bytes);
    if (!is_plain) PyErr_SetString(PyExc_ValueError, "a text has a zero in it");
    const int is_kept = is_plain && PyList_Append(kept, bytes) == 0;
    Py_DECREF(bytes);
    return is_kept ? letters : NULL;
}

static SarvaneStudy* create_study(PyObject* columns, PyObject* kept) {
    const Py_ssize_t count = PyTuple_Size(columns);
    if (count < 0) return NULL;
    const char** const names = calloc(count > 0 ? (size_t)count : 1, sizeof *names);
    SarvaneStudy* study = NULL;
    if (!names) PyErr_NoMemory();
    Py_ssize_t known = 0;
    while (names && known < count && (names[known] = zero_ended(PyTuple_GetItem(columns, known), kept))) ++known;
    if (names && known == count && !succeeded(SarvaneCreateStudy(library, names, (size_t)count, &study))) study = NULL;
    free(names);
    return study;
}

static int add_expressions(SarvaneStudy* study, PyObject* expressions, const SarvaneExpressionSettings* settings,
                           PyObject* kept) {
    const Py_ssize_t count = PyTuple_Size(expressions);
    for (Py_ssize_t i = 0; i < count; ++i) {
        SarvaneProblem* problem = NULL;
        const char* const text = zero_ended(PyTuple_GetItem(expressions, i), kept);
        if (!text) return 0;
        const SarvaneStatus status = SarvaneAddExpression(study, text, settings, &problem);
        if (status != SARVANE_OK) {
            raise_status(status, problem);
            return 0;
        }
    }
    return count >= 0;
}

// compile(columns, expressions, all_outputs, history, digits): tuples of texts, and whole numbers
PyObject* compile_study(PyObject* module, PyObject* args) {
    (void)module;
    PyObject *columns, *expressions;
    int all_outputs;
    SarvaneExpressionSettings settings = SARVANE_EXPRESSION_SETTINGS;
    if (!PyArg_ParseTuple(args, "OOpii", &columns, &expressions, &all_outputs, &settings.history, &settings.digits))
        return NULL;
    settings.allOutputs = all_outputs;
    PyObject* const kept = PyList_New(0);
    SarvaneStudy* const study = kept ? create_study(columns, kept) : NULL;
    Compiled* compiled = NULL;
    if (study && add_expressions(study, expressions, &settings, kept))
        compiled = (Compiled*)PyType_GenericAlloc(compiled_type, 0);
    Py_XDECREF(kept);
    if (!compiled) {
        SarvaneFreeStudy(study);
        return NULL;
    }
    compiled->study = study;
    compiled->column_count = PyTuple_Size(columns);
    compiled->result_count = (Py_ssize_t)SarvaneResultCount(study);
    return (PyObject*)compiled;
}

static PyObject* describe_result(void* of, size_t index) {
    SarvaneResultInfo info;
    if (!succeeded(SarvaneGetResultInfo(of, index, &info))) return NULL;
    return Py_BuildValue("{ss ss ss ss sn sn sN ss}", "title", info.title, "output", info.output, "formula",
                         info.formula, "meaning", info.meaning, "expression", (Py_ssize_t)info.expression, "lookback",
                         (Py_ssize_t)info.lookback, "is_label", PyBool_FromLong(info.isLabel), "drawing",
                         drawing_name(info.drawing));
}

static PyObject* compiled_results(PyObject* self, PyObject* none) {
    (void)none;
    SarvaneStudy* const study = ((Compiled*)self)->study;
    return list_of(SarvaneResultCount(study), describe_result, study);
}

static PyObject* describe_node(void* of, size_t index) {
    SarvaneNodeInfo info;
    if (!succeeded(SarvaneGetNodeInfo(of, index, &info))) return NULL;
    PyObject* const inputs = PyList_New(0);
    for (size_t i = 0; inputs && i < info.inputCount; ++i) {
        PyObject* const place = PyLong_FromSize_t(info.inputs[i]);
        if (place) PyList_Append(inputs, place);
        Py_XDECREF(place);
    }
    return Py_BuildValue("{ss sn sN sn sn}", "text", info.text, "uses", (Py_ssize_t)info.uses, "inputs", inputs,
                         "output", (Py_ssize_t)info.output, "outputs", (Py_ssize_t)info.outputCount);
}

static PyObject* describe_warning(void* of, size_t index) { return PyUnicode_FromString(SarvaneGetWarning(of, index)); }

static PyObject* describe_use(void* of, size_t index) { return PyBool_FromLong(SarvaneReadsColumn(of, index)); }

// A dict: lookback, depth, keeps_snapshots, nodes, warnings, reads
static PyObject* compiled_info(PyObject* self, PyObject* none) {
    (void)none;
    Compiled* const compiled = (Compiled*)self;
    SarvaneStudyInfo info;
    if (!succeeded(SarvaneGetStudyInfo(compiled->study, &info))) return NULL;
    return Py_BuildValue("{sn sn sN sN sN sN}", "lookback", (Py_ssize_t)info.lookback, "depth", (Py_ssize_t)info.depth,
                         "keeps_snapshots", PyBool_FromLong(info.keepsSnapshots), "nodes",
                         list_of(info.nodeCount, describe_node, compiled->study), "warnings",
                         list_of(info.warningCount, describe_warning, compiled->study), "reads",
                         list_of(info.columnCount, describe_use, compiled->study));
}

// How a run takes values.
typedef struct Manner {
    SarvaneRunSettings settings;
    int nan_is_gap;
} Manner;

// With NaN as a value, missing results are the library's own number: Python gets NaN for them, too.
static void turn_missing(const SarvaneOutput* outputs, Py_ssize_t result_count, Py_ssize_t count) {
    for (Py_ssize_t i = 0; i < result_count; ++i) {
        for (Py_ssize_t bar = 0; outputs[i].first && bar < count; ++bar) {
            double* const value = outputs[i].first + bar * outputs[i].stride;
            *value = outward(*value);
        }
    }
}

// One run's columns and results, held while it goes on.
typedef struct Job {
    Py_ssize_t count;
    Column *inputs, *outputs;
    SarvaneInput* in;
    SarvaneOutput* out;
} Job;

static void close_job(Job* job, const Compiled* compiled) {
    if (job->inputs) release_columns(job->inputs, compiled->column_count);
    if (job->outputs) release_columns(job->outputs, compiled->result_count);
    free(job->in);
    free(job->out);
    memset(job, 0, sizeof *job);
}

static int open_job(Job* job, const Compiled* compiled, Py_ssize_t count, PyObject* inputs, PyObject* outputs) {
    memset(job, 0, sizeof *job);
    job->count = count;
    job->inputs = open_columns(inputs, compiled->column_count, count);
    job->outputs = job->inputs ? open_columns(outputs, compiled->result_count, count) : NULL;
    job->in = calloc((size_t)compiled->column_count + 1, sizeof *job->in);
    job->out = calloc((size_t)compiled->result_count + 1, sizeof *job->out);
    int is_open = job->outputs && job->in && job->out;
    if (!is_open && !PyErr_Occurred()) PyErr_NoMemory();
    for (Py_ssize_t i = 0; is_open && i < compiled->column_count; ++i) job->in[i] = job->inputs[i].input;
    for (Py_ssize_t i = 0; is_open && i < compiled->result_count; ++i) {
        const Column* const column = &job->outputs[i];
        if (column->is_held && (column->copied || column->view.readonly)) {
            PyErr_SetString(PyExc_TypeError, "results go into arrays of doubles that can be written");
            is_open = 0;
        }
        job->out[i].first = (double*)column->input.first;
        job->out[i].stride = column->input.stride;
    }
    if (!is_open) close_job(job, compiled);
    return is_open;
}

static Manner manner_of(int nan_is_gap, int holds_inputs, double price_step) {
    Manner manner = {SARVANE_RUN_SETTINGS, nan_is_gap};
    manner.settings.priceStep = price_step;
    manner.settings.holdsInputs = holds_inputs;
    manner.settings.nanIsGap = nan_is_gap;
    return manner;
}

// run(count, inputs, outputs, nan_is_gap, holds_inputs, price_step)
static PyObject* compiled_run(PyObject* self, PyObject* args) {
    Compiled* const compiled = (Compiled*)self;
    Py_ssize_t count;
    PyObject *inputs, *outputs;
    int nan_is_gap, holds_inputs;
    double price_step;
    if (!PyArg_ParseTuple(args, "nOOppd", &count, &inputs, &outputs, &nan_is_gap, &holds_inputs, &price_step))
        return NULL;
    if (compiled->is_running) {
        PyErr_SetString(PyExc_RuntimeError, "this study is running in another thread");
        return NULL;
    }
    Job job;
    if (!open_job(&job, compiled, count, inputs, outputs)) return NULL;
    const Manner manner = manner_of(nan_is_gap, holds_inputs, price_step);
    SarvaneStatus status;
    compiled->is_running = 1;
    Py_BEGIN_ALLOW_THREADS;
    status = SarvaneRun(compiled->study, &manner.settings, (size_t)count, job.in, job.out);
    if (status == SARVANE_OK && !manner.nan_is_gap) turn_missing(job.out, compiled->result_count, count);
    Py_END_ALLOW_THREADS;
    compiled->is_running = 0;
    close_job(&job, compiled);
    if (!succeeded(status)) return NULL;
    Py_RETURN_NONE;
}

// run_many(jobs, threads, nan_is_gap, holds_inputs, price_step): a job is (count, inputs, outputs)
static PyObject* compiled_run_many(PyObject* self, PyObject* args) {
    Compiled* const compiled = (Compiled*)self;
    PyObject* list;
    Py_ssize_t threads;
    int nan_is_gap, holds_inputs;
    double price_step;
    if (!PyArg_ParseTuple(args, "O!nppd", &PyList_Type, &list, &threads, &nan_is_gap, &holds_inputs, &price_step))
        return NULL;
    const Py_ssize_t job_count = PyList_Size(list);
    Job* const held = calloc((size_t)job_count + 1, sizeof *held);
    SarvaneJob* const jobs = calloc((size_t)job_count + 1, sizeof *jobs);
    Py_ssize_t open = 0;
    if (!held || !jobs) PyErr_NoMemory();
    for (; held && jobs && open < job_count; ++open) {
        Py_ssize_t count;
        PyObject *inputs, *outputs;
        if (!PyArg_ParseTuple(PyList_GetItem(list, open), "nOO", &count, &inputs, &outputs) ||
            !open_job(&held[open], compiled, count, inputs, outputs))
            break;
        jobs[open].barCount = (size_t)count;
        jobs[open].inputs = held[open].in;
        jobs[open].outputs = held[open].out;
    }
    SarvaneStatus status = SARVANE_OK;
    if (!PyErr_Occurred()) {
        const Manner manner = manner_of(nan_is_gap, holds_inputs, price_step);
        Py_BEGIN_ALLOW_THREADS;
        status = SarvaneRunMany(compiled->study, &manner.settings, jobs, (size_t)job_count, (size_t)threads);
        for (Py_ssize_t i = 0; status == SARVANE_OK && !nan_is_gap && i < job_count; ++i)
            turn_missing(held[i].out, compiled->result_count, held[i].count);
        Py_END_ALLOW_THREADS;
    }
    for (Py_ssize_t i = 0; held && i < open; ++i) close_job(&held[i], compiled);
    free(held);
    free(jobs);
    if (PyErr_Occurred() || !succeeded(status)) return NULL;
    Py_RETURN_NONE;
}

static PyMethodDef compiled_methods[] = {
    {"results", compiled_results, METH_NOARGS, NULL},
    {"info", compiled_info, METH_NOARGS, NULL},
    {"run", compiled_run, METH_VARARGS, NULL},
    {"run_many", compiled_run_many, METH_VARARGS, NULL},
    {NULL, NULL, 0, NULL},
};

static PyType_Slot compiled_slots[] = {
    {Py_tp_new, refuse_new},
    {Py_tp_dealloc, compiled_dealloc},
    {Py_tp_methods, compiled_methods},
    {0, NULL},
};

PyType_Spec compiled_spec = {"sarvane._sarvane.Compiled", sizeof(Compiled), 0,
                             Py_TPFLAGS_DEFAULT, compiled_slots};

