#pragma once

// The field table of the zelmsg records and every operation on their fields, written once for the family.
// A record's .cpp declares the table
//
//   #define ZELMSG_<RECORD>_FIELDS(F, R) F(R, Kind, Name, Tag, Presence) ...
//
// in field order, which is also the order of the presence bits and of every written form, expands it with
// ZELMSG_DEFINE_RECORD (recorddefinition.h) and adds what really differs between records: HasData and the
// enumerations' names. Kind is one of String, Enum, StringList, RecordList, Record, Bool. An Enum field's type is
// the record's nested enumeration of the same name, a Record or RecordList field's element type the record class
// of the same name. Tag is the field's tag in the tagged binary form. A Required field is always written and must
// be set for Check; a Required enumeration has no valid default (-1), an Optional one defaults to its first name.
// The written forms live beside this file: xmlform.h and binaryform.h.

#include <zel/host/irmobject.h>

#include <QBitArray>
#include <QSharedData>
#include <QStringList>
#include <QVector>

#include <type_traits>
#include <utility>

namespace zelmsg {
namespace detail {

// One row of a record's field table; `bit` is the field's presence bit and its place in the table.
struct FieldInfo
{
    char const* name;
    quint32 tag;
    int bit;
    bool required;
    QStringList const& (*names)(); // enumerations only
};

enum class Kind { String, Enum, Bool, StringList, RecordList, Record };

template <class T> struct IsVector : std::false_type
{
};
template <class T> struct IsVector<QVector<T>> : std::true_type
{
};

template <class T> constexpr Kind kindOf()
{
    if constexpr (std::is_same_v<T, QString>)
        return Kind::String;
    else if constexpr (std::is_same_v<T, bool>)
        return Kind::Bool;
    else if constexpr (std::is_enum_v<T>)
        return Kind::Enum;
    else if constexpr (std::is_same_v<T, QVector<QString>>)
        return Kind::StringList;
    else if constexpr (IsVector<T>::value)
        return Kind::RecordList;
    else
        return Kind::Record;
}

template <class T> constexpr bool isList = kindOf<T>() == Kind::StringList || kindOf<T>() == Kind::RecordList;

template <class M> struct MemberOf;
template <class C, class T> struct MemberOf<T C::*>
{
    using type = T;
};
template <class M> using FieldType = typename MemberOf<M>::type;

QString enumName(QStringList const& names, int value);
QStringList translated(QStringList const& names);
bool noneNull(QVector<QString> const& values);
// The field as the error texts name it.
QString fieldLabel(FieldInfo const& field);
[[noreturn]] void throwSetter(QString const& record, FieldInfo const& field);
[[noreturn]] void throwEnum(QString const& record, FieldInfo const& field);
[[noreturn]] void throwAppend(QString const& record, FieldInfo const& field);
[[noreturn]] void throwCheck(QString const& record, FieldInfo const& field);

// Every operation of record R on the fields its Data visits; R's members and the forms only forward here.
template <class R> struct RecordRules
{
    using Data = typename R::Data;

    // Mutations go through data(), which detaches a shared private part, and iterate lists as non-const, which
    // detaches a shared list: nothing visible through another record is ever changed, mutable state included.
    static Data& data(R const& r) { return *r.d; }
    static Data const* peek(R const& r) { return r.d.constData(); }

    static void construct(R& r)
    {
        r.SetObjectName(R::GetStaticObjectName());
        r.SetRecordId(R::id);
    }

    // Lazy allocation; a new private part's nested records start in line with this record.
    static void initData(R const& r)
    {
        if (!peek(r))
            alignNested(r);
    }

    template <class T> static T defaultOf(FieldInfo const& f)
    {
        if constexpr (kindOf<T>() == Kind::Enum)
            return static_cast<T>(f.required ? -1 : 0);
        else
            return T();
    }

    template <class E> static bool inRange(FieldInfo const& f, E value)
    {
        return value >= 0 && value < f.names().size();
    }

    static void assignDefaults(R const& r)
    {
        Data& d = data(r);
        Data::visit([&](FieldInfo const& f, auto m) { d.*m = defaultOf<FieldType<decltype(m)>>(f); });
    }

    static void prepareItem(R const& r, RECORDMODEL::IRMObject const& item)
    {
        item.SetValidate(r.GetValidate());
        item.SetLogger(r.GetLogger());
    }

    // Before an operation that walks the nested records: they may have been handed out by reference and changed,
    // so they take this record's flag and logger again. Allocates on first use.
    static void alignNested(R const& r)
    {
        if (!peek(r)) {
            r.d = new Data;
            r.ConstNoClearReset();
        }
        r.SetValidate(r.GetValidate());
        r.SetLogger(r.GetLogger());
    }

    template <class Apply> static void forward(R const& r, Apply const& apply)
    {
        if (!peek(r))
            return;
        Data::visit([&](FieldInfo const&, auto m) {
            using T = FieldType<decltype(m)>;
            if constexpr (kindOf<T>() == Kind::Record)
                apply(data(r).*m);
            else if constexpr (kindOf<T>() == Kind::RecordList)
                for (auto& item : data(r).*m)
                    apply(item);
        });
    }

    // Per-field operations.

    static bool isSet(R const& r, int bit)
    {
        Data const* d = peek(r);
        return d && d->bits.testBit(bit);
    }

    template <class T> static T const& get(R const& r, T Data::*m)
    {
        initData(r);
        return data(r).*m;
    }

    template <class T> static T& getForWrite(R& r, FieldInfo const& f, T Data::*m)
    {
        initData(r);
        data(r).bits.setBit(f.bit);
        return data(r).*m;
    }

    template <class T, class V> static void assign(R& r, FieldInfo const& f, T Data::*m, V&& value)
    {
        initData(r);
        if (r.GetValidate())
            refuseInvalid<T>(r, f, value);
        Data& d = data(r);
        d.*m = std::forward<V>(value);
        d.bits.setBit(f.bit);
    }

    template <class T> static void append(R& r, FieldInfo const& f, QVector<T> Data::*m, T const& item)
    {
        initData(r);
        if (r.GetValidate() && !isGoodItem(r, item))
            throwAppend(r.GetObjectName(), f);
        Data& d = data(r);
        (d.*m).append(item);
        d.bits.setBit(f.bit);
    }

    template <class T> static void resetField(R& r, FieldInfo const& f, T Data::*m)
    {
        if (!peek(r))
            return;
        Data& d = data(r);
        d.bits.clearBit(f.bit);
        d.*m = defaultOf<T>(f);
    }

    // Record-level operations.

    static void reset(R& r)
    {
        if (!peek(r))
            return;
        data(r).bits.fill(false);
        r.ConstNoClearReset();
    }

    static void resetToDefault(R& r)
    {
        bool const existed = peek(r);
        initData(r);
        if (existed)
            r.Reset();
        Data& d = data(r);
        Data::visit([&](FieldInfo const& f, auto m) {
            using T = FieldType<decltype(m)>;
            if constexpr (kindOf<T>() == Kind::Enum)
                if (inRange(f, defaultOf<T>(f)))
                    d.bits.setBit(f.bit);
        });
    }

    static bool anyData(R const& r)
    {
        Data const* d = peek(r);
        if (!d)
            return false;
        bool any = false;
        Data::visit([&](FieldInfo const& f, auto m) {
            if (any)
                return;
            using T = FieldType<decltype(m)>;
            if constexpr (kindOf<T>() == Kind::String)
                any = !(d->*m).isNull();
            else if constexpr (isList<T>)
                any = !(d->*m).isEmpty();
            else if constexpr (kindOf<T>() == Kind::Record)
                any = (d->*m).AnyData();
            else
                any = d->bits.testBit(f.bit);
        });
        return any;
    }

    static void check(R const& r, bool deep)
    {
        alignNested(r);
        Data& d = data(r);
        Data::visit([&](FieldInfo const& f, auto m) {
            if (d.bits.testBit(f.bit))
                checkValue(r, f, d.*m, deep);
            else if (f.required)
                throwCheck(r.GetObjectName(), f);
        });
    }

    // An unset field equals only an unset one; an unset list counts as empty.
    static bool equal(R const& a, R const& b)
    {
        Data const* x = peek(a);
        Data const* y = peek(b);
        if (!x)
            std::swap(x, y);
        if (!x)
            return true;
        bool same = true;
        Data::visit([&](FieldInfo const& f, auto m) {
            if (!same)
                return;
            if constexpr (isList<FieldType<decltype(m)>>) {
                same = y ? x->*m == y->*m : (x->*m).isEmpty();
            } else {
                bool const inX = x->bits.testBit(f.bit);
                same = inX == (y && y->bits.testBit(f.bit)) && (!inX || x->*m == y->*m);
            }
        });
        return same;
    }

    // Shared by the forms.

    // Before a record is written: nested records in line, and with validation a Check that throws before
    // anything is written.
    static Data& prepareWrite(R const& r)
    {
        alignNested(r);
        if (r.GetValidate())
            r.Check();
        return data(r);
    }

    template <class Write> static void forWrittenFields(Data& d, Write const& write)
    {
        Data::visit([&](FieldInfo const& f, auto m) {
            if (isWritten(d, f, d.*m))
                write(f, d.*m);
        });
    }

    // Reads the first field that `matches`; false when there is none.
    template <class Match, class Read> static bool readField(Match const& matches, Read const& read)
    {
        bool known = false;
        Data::visit([&](FieldInfo const& f, auto m) {
            if (known || !matches(f))
                return;
            known = true;
            read(f, m);
        });
        return known;
    }

    // Appends a new list item filled by `fill`; a record item first takes this record's flag and logger.
    template <class T, class Fill>
    static void appendNew(R& r, FieldInfo const& f, QVector<T> Data::*m, Fill const& fill)
    {
        T item;
        if constexpr (!std::is_same_v<T, QString>)
            prepareItem(r, item);
        fill(item);
        append(r, f, m, item);
    }

    // Appends `count` items of a counted list, with room reserved first. The room grows geometrically, so that a
    // list field that comes many times stays linear.
    template <class T, class Fill>
    static void appendEach(R& r, FieldInfo const& f, QVector<T> Data::*m, int count, Fill const& fill)
    {
        QVector<T>& list = data(r).*m;
        int const needed = list.size() + count;
        if (needed > list.capacity())
            list.reserve(qMax(needed, 2 * list.capacity()));
        for (int i = 0; i < count; ++i)
            appendNew(r, f, m, fill);
    }

private:
    template <class T> static bool isWritten(Data const& d, FieldInfo const& f, T const& value)
    {
        if constexpr (isList<T>)
            return !value.isEmpty();
        else
            return f.required || d.bits.testBit(f.bit);
    }

    static bool isGoodItem(R const& r, QString const& item) { return r.IsValid(item); }
    static bool isGoodItem(R const&, RECORDMODEL::IRMObject const& item) { return item.HasData(); }

    template <class T> static void refuseInvalid(R const& r, FieldInfo const& f, T const& value)
    {
        if constexpr (kindOf<T>() == Kind::String) {
            if (value.isNull())
                throwSetter(r.GetObjectName(), f);
        } else if constexpr (kindOf<T>() == Kind::Enum) {
            if (!inRange(f, value))
                throwEnum(R::GetStaticObjectName(), f);
        }
    }

    template <class T> static void checkValue(R const& r, FieldInfo const& f, T& value, bool deep)
    {
        constexpr Kind kind = kindOf<T>();
        if constexpr (kind == Kind::String) {
            if (value.isNull())
                throwCheck(r.GetObjectName(), f);
        } else if constexpr (kind == Kind::Enum) {
            if (!inRange(f, value))
                throwCheck(r.GetObjectName(), f);
        } else if constexpr (kind == Kind::StringList) {
            if (!noneNull(value))
                throwCheck(r.GetObjectName(), f);
        } else if constexpr (kind == Kind::RecordList) {
            for (auto& item : value)
                item.Check(deep);
        } else if constexpr (kind == Kind::Record) {
            value.Check(deep);
        }
    }
};

} // namespace detail
} // namespace zelmsg

#define ZELMSG_RULES(R) ::zelmsg::detail::RecordRules<R>

// The private part, generated from the field table.
#define ZELMSG_DATA_BIT(R, Kind, X, Tag, Presence) bit_##X,
#define ZELMSG_DATA_INFO(R, Kind, X, Tag, Presence)                                                                    \
    static constexpr ::zelmsg::detail::FieldInfo info_##X { #X, Tag, bit_##X, ZELMSG_REQUIRED_##Presence,              \
        ZELMSG_NAMES_##Kind(R, X) };
#define ZELMSG_DATA_MEMBER(R, Kind, X, Tag, Presence) ZELMSG_TYPE_##Kind(R, X) f_##X {};
#define ZELMSG_DATA_VISIT(R, Kind, X, Tag, Presence) visitor(info_##X, &Data::f_##X);

#define ZELMSG_REQUIRED_Required true
#define ZELMSG_REQUIRED_Optional false

#define ZELMSG_TYPE_String(R, X) QString
#define ZELMSG_TYPE_Enum(R, X) R::X
#define ZELMSG_TYPE_Bool(R, X) bool
#define ZELMSG_TYPE_StringList(R, X) QVector<QString>
#define ZELMSG_TYPE_RecordList(R, X) QVector<::zelmsg::X>
#define ZELMSG_TYPE_Record(R, X) ::zelmsg::X

#define ZELMSG_NAMES_Enum(R, X) &R::Get##X##s
#define ZELMSG_NAMES_String(R, X) nullptr
#define ZELMSG_NAMES_Bool(R, X) nullptr
#define ZELMSG_NAMES_StringList(R, X) nullptr
#define ZELMSG_NAMES_RecordList(R, X) nullptr
#define ZELMSG_NAMES_Record(R, X) nullptr

#define ZELMSG_DEFINE_DATA(R, FIELDS)                                                                                  \
    struct R::Data : QSharedData                                                                                       \
    {                                                                                                                  \
        enum Bit { FIELDS(ZELMSG_DATA_BIT, R) bitCount };                                                              \
        FIELDS(ZELMSG_DATA_INFO, R)                                                                                    \
        FIELDS(ZELMSG_DATA_MEMBER, R)                                                                                  \
        QBitArray bits { bitCount };                                                                                   \
        template <class V> static void visit(V&& visitor) { FIELDS(ZELMSG_DATA_VISIT, R) }                             \
    };

// The per-field members, by kind.
#define ZELMSG_DEFINE_FIELD(R, Kind, X, Tag, Presence) ZELMSG_DEFINE_##Kind(R, X)

#define ZELMSG_DEFINE_SET_STATE(R, X)                                                                                  \
    bool R::Is##X##Set() const { return ZELMSG_RULES(R)::isSet(*this, Data::bit_##X); }                                \
    void R::Reset##X() { ZELMSG_RULES(R)::resetField(*this, Data::info_##X, &Data::f_##X); }

#define ZELMSG_DEFINE_VALUE(R, X, T)                                                                                   \
    ZELMSG_DEFINE_SET_STATE(R, X)                                                                                      \
    T R::Get##X() const { return ZELMSG_RULES(R)::get(*this, &Data::f_##X); }                                          \
    void R::Set##X(T value) { ZELMSG_RULES(R)::assign(*this, Data::info_##X, &Data::f_##X, std::move(value)); }

#define ZELMSG_DEFINE_String(R, X)                                                                                     \
    ZELMSG_DEFINE_VALUE(R, X, QString)                                                                                 \
    QString R::GetDefault##X() const { return QString(); }                                                             \
    bool R::IsValid##X(QString const& value) const { return !value.isNull(); }

#define ZELMSG_DEFINE_Bool(R, X)                                                                                       \
    ZELMSG_DEFINE_VALUE(R, X, bool)                                                                                    \
    bool R::GetDefault##X() const { return false; }

#define ZELMSG_DEFINE_Enum(R, X)                                                                                       \
    ZELMSG_DEFINE_VALUE(R, X, R::X const&)                                                                             \
    R::X R::GetDefault##X() const { return ZELMSG_RULES(R)::defaultOf<X>(Data::info_##X); }                            \
    R::X R::GetInvalid##X() const { return static_cast<X>(-1); }                                                       \
    bool R::IsValid##X(X const& value) const { return ZELMSG_RULES(R)::inRange(Data::info_##X, value); }               \
    QString R::Get##X##AsString() const { return X##ToName(Get##X()); }                                                \
    QString R::X##ToName(X const& value) const { return ::zelmsg::detail::enumName(Get##X##s(), value); }              \
    R::X R::NameTo##X(QString const& name) const { return static_cast<X>(Get##X##s().indexOf(name)); }                 \
    QStringList R::GetGUI##X##s() { return ::zelmsg::detail::translated(Get##X##s()); }

// Shared by both kinds of list; T is the element type.
#define ZELMSG_DEFINE_LIST(R, X, T)                                                                                    \
    ZELMSG_DEFINE_SET_STATE(R, X)                                                                                      \
    QVector<T> const& R::Get##X() const { return ZELMSG_RULES(R)::get(*this, &Data::f_##X); }                          \
    QVector<T>& R::Get##X() { return ZELMSG_RULES(R)::getForWrite(*this, Data::info_##X, &Data::f_##X); }              \
    void R::Set##X(QVector<T> const& value) { ZELMSG_RULES(R)::assign(*this, Data::info_##X, &Data::f_##X, value); }   \
    void R::Append##X(T const& value) { ZELMSG_RULES(R)::append(*this, Data::info_##X, &Data::f_##X, value); }

#define ZELMSG_DEFINE_StringList(R, X)                                                                                 \
    ZELMSG_DEFINE_LIST(R, X, QString)                                                                                  \
    QString R::GetDefault##X() const { return QString(); }                                                             \
    bool R::IsValid##X(QVector<QString> const& value) const { return ::zelmsg::detail::noneNull(value); }              \
    bool R::IsValid##X(QString const& value) const { return !value.isNull(); }

#define ZELMSG_DEFINE_RecordList(R, X)                                                                                 \
    ZELMSG_DEFINE_LIST(R, X, X)                                                                                        \
    bool R::IsValid##X(QVector<X> const&) const { return true; }                                                       \
    bool R::IsValid##X(X const&) const { return true; }

#define ZELMSG_DEFINE_Record(R, X)                                                                                     \
    ZELMSG_DEFINE_SET_STATE(R, X)                                                                                      \
    X const& R::Get##X() const { return ZELMSG_RULES(R)::get(*this, &Data::f_##X); }                                   \
    X& R::Get##X() { return ZELMSG_RULES(R)::getForWrite(*this, Data::info_##X, &Data::f_##X); }                       \
    bool R::IsValid##X(X const&) const { return true; }                                                                \
    void R::Set##X(X const& value) { ZELMSG_RULES(R)::assign(*this, Data::info_##X, &Data::f_##X, value); }
