// Small fixed-size tuples whose elements are the members a, b and c, used to carry the
// parameters of IPC messages:
//
//   Tuple2<std::string, int> t = MakeTuple(std::string("x"), 1);
//   t.a ...; t.b ...;
//
// A tuple of references binds out-variables (MakeRefTuple) and must be built from them. A
// default-constructed tuple value-initialises its elements, so ints are 0 and bools false
// until assigned.

#ifndef BASE_TUPLE_H_
#define BASE_TUPLE_H_

#include <cstddef>
#include <utility>

struct Tuple0 {
  typedef Tuple0 ValueTuple;
  typedef Tuple0 RefTuple;
};

template <class A>
struct Tuple1 {
  typedef A TypeA;
  typedef Tuple1<A> ValueTuple;
  typedef Tuple1<A&> RefTuple;

  Tuple1() : a() {}
  explicit Tuple1(const A& in_a) : a(in_a) {}

  A a;
};

template <class A, class B>
struct Tuple2 {
  typedef A TypeA;
  typedef B TypeB;
  typedef Tuple2<A, B> ValueTuple;
  typedef Tuple2<A&, B&> RefTuple;

  Tuple2() : a(), b() {}
  Tuple2(const A& in_a, const B& in_b) : a(in_a), b(in_b) {}

  A a;
  B b;
};

template <class A, class B, class C>
struct Tuple3 {
  typedef A TypeA;
  typedef B TypeB;
  typedef C TypeC;
  typedef Tuple3<A, B, C> ValueTuple;
  typedef Tuple3<A&, B&, C&> RefTuple;

  Tuple3() : a(), b(), c() {}
  Tuple3(const A& in_a, const B& in_b, const C& in_c) : a(in_a), b(in_b), c(in_c) {}

  A a;
  B b;
  C c;
};

inline Tuple0 MakeTuple() {
  return Tuple0();
}

template <class A>
Tuple1<A> MakeTuple(const A& a) {
  return Tuple1<A>(a);
}

template <class A, class B>
Tuple2<A, B> MakeTuple(const A& a, const B& b) {
  return Tuple2<A, B>(a, b);
}

template <class A, class B, class C>
Tuple3<A, B, C> MakeTuple(const A& a, const B& b, const C& c) {
  return Tuple3<A, B, C>(a, b, c);
}

template <class A>
Tuple1<A&> MakeRefTuple(A& a) {
  return Tuple1<A&>(a);
}

template <class A, class B>
Tuple2<A&, B&> MakeRefTuple(A& a, B& b) {
  return Tuple2<A&, B&>(a, b);
}

template <class A, class B, class C>
Tuple3<A&, B&, C&> MakeRefTuple(A& a, B& b, C& c) {
  return Tuple3<A&, B&, C&>(a, b, c);
}

// Element access by position, for code that handles tuples of any size.
template <size_t I>
struct TupleElement;

template <>
struct TupleElement<0> {
  template <class T>
  static auto& Get(T& t) {
    return t.a;
  }
};

template <>
struct TupleElement<1> {
  template <class T>
  static auto& Get(T& t) {
    return t.b;
  }
};

template <>
struct TupleElement<2> {
  template <class T>
  static auto& Get(T& t) {
    return t.c;
  }
};

template <class T>
struct TupleSize;

template <>
struct TupleSize<Tuple0> {
  static constexpr size_t value = 0;
};

template <class A>
struct TupleSize<Tuple1<A>> {
  static constexpr size_t value = 1;
};

template <class A, class B>
struct TupleSize<Tuple2<A, B>> {
  static constexpr size_t value = 2;
};

template <class A, class B, class C>
struct TupleSize<Tuple3<A, B, C>> {
  static constexpr size_t value = 3;
};

namespace tuple_internal {

template <class Obj, class Method, class In, class Out, size_t... I, size_t... J>
void DispatchToMethod(Obj* obj,
                      Method method,
                      const In& in,
                      Out* out,
                      std::index_sequence<I...>,
                      std::index_sequence<J...>) {
  (obj->*method)(TupleElement<I>::Get(in)..., &TupleElement<J>::Get(*out)...);
}

}  // namespace tuple_internal

// Calls |method| on |obj| with each element of |in| and then a pointer to each element of
// |out|: for Tuple2 in and Tuple1 out, (obj->*method)(in.a, in.b, &out->a).
template <class Obj, class Method, class In, class Out>
void DispatchToMethod(Obj* obj, Method method, const In& in, Out* out) {
  tuple_internal::DispatchToMethod(obj, method, in, out,
                                   std::make_index_sequence<TupleSize<In>::value>(),
                                   std::make_index_sequence<TupleSize<Out>::value>());
}

#endif  // BASE_TUPLE_H_
