// How parameters travel in IPC messages: IPC::ParamTraits<T> writes a T into a message,
// reads it back from a PickleIterator and renders it for logs. On top of them, the
// deserializer that fills a synchronous request's out-variables from its reply
// (ParamDeserializer), the schema of a synchronous message (SyncMessageSchema): how its
// request and reply are read and written, and how a request is dispatched to its handler,
// and the base of a synchronous message type of its own (TypedSyncMessage).

#ifndef IPC_IPC_MESSAGE_UTILS_H_
#define IPC_IPC_MESSAGE_UTILS_H_

#include <cstdint>
#include <memory>
#include <string>

#include "base/tuple.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_sync_message.h"

namespace base {
class DictionaryValue;
class ListValue;
class Value;
}  // namespace base

namespace IPC {

// Specialised for each type that travels.
template <class P>
struct ParamTraits {};

template <class P>
inline void WriteParam(Message* m, const P& p) {
  ParamTraits<P>::Write(m, p);
}

template <class P>
inline bool ReadParam(const Message* m, PickleIterator* iter, P* p) {
  return ParamTraits<P>::Read(m, iter, p);
}

template <class P>
inline void LogParam(const P& p, std::string* l) {
  ParamTraits<P>::Log(p, l);
}

// Primitive types ------------------------------------------------------------

// "true" or "false"; an int or a uint16_t in decimal.
void LogPrimitive(bool p, std::string* l);
void LogPrimitive(int p, std::string* l);

// A type that the pickle writes and reads itself, with |WriteFn| and |ReadFn|.
template <class T, bool (Pickle::*WriteFn)(T), bool (PickleIterator::*ReadFn)(T*)>
struct PrimitiveParamTraits {
  typedef T param_type;
  static void Write(Message* m, const param_type& p) { (m->*WriteFn)(p); }
  static bool Read(const Message* m, PickleIterator* iter, param_type* r) {
    return (iter->*ReadFn)(r);
  }
  static void Log(const param_type& p, std::string* l) { LogPrimitive(p, l); }
};

// An int, 1 or 0.
template <>
struct ParamTraits<bool>
    : PrimitiveParamTraits<bool, &Pickle::WriteBool, &PickleIterator::ReadBool> {};

template <>
struct ParamTraits<int> : PrimitiveParamTraits<int, &Pickle::WriteInt, &PickleIterator::ReadInt> {};

// Its 2 bytes.
template <>
struct ParamTraits<uint16_t>
    : PrimitiveParamTraits<uint16_t, &Pickle::WriteUInt16, &PickleIterator::ReadUInt16> {};

template <>
struct ParamTraits<double> {
  typedef double param_type;
  // Data (an int length, then the bytes) of its 8 bytes.
  static void Write(Message* m, const param_type& p);
  // Refuses data of any other length.
  static bool Read(const Message* m, PickleIterator* iter, param_type* r);
  static void Log(const param_type& p, std::string* l);
};

template <>
struct ParamTraits<std::string> {
  typedef std::string param_type;
  // An int length, then the bytes.
  static void Write(Message* m, const param_type& p) { m->WriteString(p); }
  static bool Read(const Message* m, PickleIterator* iter, param_type* r) {
    return iter->ReadString(r);
  }
  // The text as it is.
  static void Log(const param_type& p, std::string* l) { l->append(p); }
};

// The value tree ---------------------------------------------------------------
//
// A value is its int type id (base::Value::Type) and then its content: null nothing; a
// boolean, integer or string as that primitive; a double as above; binary as data; a
// dictionary an int count and then, in key order, each key as a string followed by its
// value; a list an int count and then its values. Reading refuses a tree nested deeper
// than kMaxValueDepth and a count larger than the remaining bytes could hold, before
// anything is allocated for it.

// The deepest level a value may sit at: the top-level value is at level 0.
const int kMaxValueDepth = 100;

template <>
struct ParamTraits<base::Value> {
  typedef base::Value param_type;
  static void Write(Message* m, const param_type& p);
  // On success |*r| owns the value read.
  static bool Read(const Message* m, PickleIterator* iter, std::unique_ptr<param_type>* r);
  // Compact JSON; nothing for a tree that JSON cannot express (binary, non-finite double).
  static void Log(const param_type& p, std::string* l);
};

// A dictionary or a list. Read replaces the content of |*r| and refuses a value of any
// other type; on failure |*r| holds what was read before it. Logged as compact JSON.
template <class Container>
struct ContainerValueParamTraits {
  typedef Container param_type;
  static void Write(Message* m, const param_type& p);
  static bool Read(const Message* m, PickleIterator* iter, param_type* r);
  static void Log(const param_type& p, std::string* l);
};

// Defined in ipc_message_utils.cc for these two.
extern template struct ContainerValueParamTraits<base::DictionaryValue>;
extern template struct ContainerValueParamTraits<base::ListValue>;

template <>
struct ParamTraits<base::DictionaryValue> : ContainerValueParamTraits<base::DictionaryValue> {};

template <>
struct ParamTraits<base::ListValue> : ContainerValueParamTraits<base::ListValue> {};

// Tuples: their elements one after another; rendered joined by ", " --------------------

template <>
struct ParamTraits<Tuple0> {
  typedef Tuple0 param_type;
  static void Write(Message* m, const param_type& p) {}
  static bool Read(const Message* m, PickleIterator* iter, param_type* r) { return true; }
  static void Log(const param_type& p, std::string* l) {}
};

template <class A>
struct ParamTraits<Tuple1<A>> {
  typedef Tuple1<A> param_type;
  static void Write(Message* m, const param_type& p) { WriteParam(m, p.a); }
  static bool Read(const Message* m, PickleIterator* iter, param_type* r) {
    return ReadParam(m, iter, &r->a);
  }
  static void Log(const param_type& p, std::string* l) { LogParam(p.a, l); }
};

template <class A, class B>
struct ParamTraits<Tuple2<A, B>> {
  typedef Tuple2<A, B> param_type;
  static void Write(Message* m, const param_type& p) {
    WriteParam(m, p.a);
    WriteParam(m, p.b);
  }
  static bool Read(const Message* m, PickleIterator* iter, param_type* r) {
    return ReadParam(m, iter, &r->a) && ReadParam(m, iter, &r->b);
  }
  static void Log(const param_type& p, std::string* l) {
    LogParam(p.a, l);
    l->append(", ");
    LogParam(p.b, l);
  }
};

template <class A, class B, class C>
struct ParamTraits<Tuple3<A, B, C>> {
  typedef Tuple3<A, B, C> param_type;
  static void Write(Message* m, const param_type& p) {
    WriteParam(m, p.a);
    WriteParam(m, p.b);
    WriteParam(m, p.c);
  }
  static bool Read(const Message* m, PickleIterator* iter, param_type* r) {
    return ReadParam(m, iter, &r->a) && ReadParam(m, iter, &r->b) && ReadParam(m, iter, &r->c);
  }
  static void Log(const param_type& p, std::string* l) {
    LogParam(p.a, l);
    l->append(", ");
    LogParam(p.b, l);
    l->append(", ");
    LogParam(p.c, l);
  }
};

// Synchronous messages ---------------------------------------------------------------

// Reads a reply's parameters straight into the out-variables bound in |RefTuple|, a tuple
// of references, in order.
template <class RefTuple>
class ParamDeserializer : public MessageReplyDeserializer {
 public:
  explicit ParamDeserializer(const RefTuple& out) : out_(out) {}

 private:
  bool SerializeOutputParameters(const Message& msg, PickleIterator iter) override {
    return ReadParam(&msg, &iter, &out_);
  }

  RefTuple out_;
};

// Writes each element of a tuple with its ParamTraits.
struct ParamTraitsWriter {
  template <class P>
  static void Write(Message* m, const P& p) {
    WriteParam(m, p);
  }
};

// Writes each element of |p| into |m| with |Writer|::Write, in order.
template <class Writer>
inline void WriteTupleWith(Message* m, const Tuple0& p) {}

template <class Writer, class A>
inline void WriteTupleWith(Message* m, const Tuple1<A>& p) {
  Writer::Write(m, p.a);
}

template <class Writer, class A, class B>
inline void WriteTupleWith(Message* m, const Tuple2<A, B>& p) {
  Writer::Write(m, p.a);
  Writer::Write(m, p.b);
}

template <class Writer, class A, class B, class C>
inline void WriteTupleWith(Message* m, const Tuple3<A, B, C>& p) {
  Writer::Write(m, p.a);
  Writer::Write(m, p.b);
  Writer::Write(m, p.c);
}

// Writes the line that reports a request whose parameters could not be read: at LOG_FATAL,
// "Check failed: false. Error deserializing message " and the type in decimal. The process
// goes on: a peer's malformed message is answered, not a reason to stop.
void LogDeserializationFailure(uint32_t type);

// The request and reply of a synchronous message: both tuples of values. The request is
// written with the elements' ParamTraits; the reply with |ReplyWriter|::Write, an overload
// set that says per element type how it goes on the wire (ParamTraits by default).
template <class SendParamType, class ReplyParamType, class ReplyWriter = ParamTraitsWriter>
class SyncMessageSchema {
 public:
  typedef SendParamType SendParam;
  typedef ReplyParamType ReplyParam;

  static void WriteSendParam(Message* msg, const SendParam& p) { WriteParam(msg, p); }

  static void WriteReplyParam(Message* reply, const ReplyParam& p) {
    WriteTupleWith<ReplyWriter>(reply, p);
  }

  // Decodes a request's parameters, past the message id. False at the first element that
  // cannot be read; those before it keep their new values. Trailing data is not looked at.
  static bool ReadSendParam(const Message* msg, SendParam* p) {
    PickleIterator iter = SyncMessage::GetDataIterator(msg);
    return ReadParam(msg, &iter, p);
  }

  // As ReadSendParam, for a reply.
  static bool ReadReplyParam(const Message* msg, ReplyParam* p) {
    PickleIterator iter = SyncMessage::GetDataIterator(msg);
    return ReadParam(msg, &iter, p);
  }

  // Decodes the request |msg| and answers it as DispatchWithSendParams does.
  template <class T, class S, class Method>
  static bool Dispatch(const Message* msg, T* obj, S* sender, Method func) {
    SendParam send_params;
    const bool ok = ReadSendParam(msg, &send_params);
    return DispatchWithSendParams(ok, send_params, msg, obj, sender, func);
  }

  // Answers the request |msg| whose parameters were decoded into |send_params| (|ok| says
  // whether that succeeded). Creates the reply; when |ok|, calls (obj->*func) with a const
  // reference to each send parameter and a pointer to each element of a default-constructed
  // reply tuple, then writes the reply elements; otherwise logs the failure and marks the
  // reply as an error reply with no parameters. The reply is handed to |sender|->Send,
  // which takes it. Returns |ok|. Neither |obj| nor |sender| is owned.
  template <class T, class S, class Method>
  static bool DispatchWithSendParams(bool ok,
                                     const SendParam& send_params,
                                     const Message* msg,
                                     T* obj,
                                     S* sender,
                                     Method func) {
    Message* reply = SyncMessage::GenerateReply(msg);
    if (ok) {
      ReplyParam reply_params;
      DispatchToMethod(obj, func, send_params, &reply_params);
      WriteReplyParam(reply, reply_params);
    } else {
      LogDeserializationFailure(msg->type());
      reply->set_reply_error();
    }
    sender->Send(reply);
    return ok;
  }
};

// A synchronous message type of its own: requests of type |kType| on |kRoutingId| at
// PRIORITY_NORMAL, with the request and reply of SyncMessageSchema. |Derived| is the class
// that derives from it, gives its name in kName and adds the constructors that say which
// parameters a request carries and which out-variables its reply fills.
template <class Derived,
          int32_t kRoutingId,
          uint32_t kType,
          class SendParamType,
          class ReplyParamType,
          class ReplyWriter = ParamTraitsWriter>
class TypedSyncMessage : public SyncMessage {
 public:
  static constexpr uint32_t ID = kType;
  typedef SyncMessageSchema<SendParamType, ReplyParamType, ReplyWriter> Schema;
  typedef SendParamType SendParam;
  typedef ReplyParamType ReplyParam;

  static bool ReadSendParam(const Message* msg, SendParam* p) {
    return Schema::ReadSendParam(msg, p);
  }

  static bool ReadReplyParam(const Message* msg, ReplyParam* p) {
    return Schema::ReadReplyParam(msg, p);
  }

  // Sets |*name| to Derived::kName and, when |msg| decodes as a request (it is sync) or a
  // reply, appends its parameters' rendering to |*l|. Either pointer may be null.
  static void Log(std::string* name, const Message* msg, std::string* l) {
    if (name)
      *name = Derived::kName;
    if (!msg || !l)
      return;
    if (msg->is_sync()) {
      SendParam p;
      if (ReadSendParam(msg, &p))
        LogParam(p, l);
    } else {
      ReplyParam p;
      if (ReadReplyParam(msg, &p))
        LogParam(p, l);
    }
  }

 protected:
  // Writes the request's parameters |in| (a tuple; of references will do) with their
  // ParamTraits, and binds the reply to |out|, a tuple of references to the out-variables,
  // which must outlive the reply.
  template <class InTuple, class OutRefTuple>
  TypedSyncMessage(const InTuple& in, const OutRefTuple& out)
      : SyncMessage(kRoutingId, kType, PRIORITY_NORMAL, new ParamDeserializer<OutRefTuple>(out)) {
    WriteParam(this, in);
  }
};

}  // namespace IPC

#endif  // IPC_IPC_MESSAGE_UTILS_H_
