#include "Core/Base/Network/KLNetwork.h"

#include <gtest/gtest.h>

#include "Core/Base/Network/CountingRandom.h"
#include "Foundation/KLJSON.h"
#include "Support/FakeHTTPSession.h"
#include "Support/FakeHost.h"

namespace kaleo {
namespace {

KLBytes bytes(std::string_view text) { return KLBytes(text.begin(), text.end()); }
std::string text(const KLBytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

class KLNetworkTest : public ::testing::Test {
 protected:
  void get(const KLValue* parameters = nullptr) {
    network.GET(
        "http://host/path", parameters,
        [this](std::optional<KLValue> object) {
          ++successes;
          response = std::move(object);
        },
        [this](std::optional<KLError> failure) {
          ++failures;
          error = std::move(failure);
        });
  }

  void answer(std::string_view body, KLHTTPHeaders headers = {}, int status = 200) {
    session.answer(session.size() - 1, {KLHTTPResponse{status, std::move(headers), bytes(body)}, std::nullopt});
  }

  /// What a server with the client's key material would send for `json`.
  static std::string envelopeOf(const std::string& json) {
    testing::CountingRandom sameRandom;
    KLHttpCryptor cryptor(sameRandom);
    cryptor.setupKeyAndIV();
    return KLJSON::serialize(KLObject{{"payload", *cryptor.encryptString(json)}});
  }

  testing::FakeHost host;
  const KLLog log{host.registry};
  testing::FakeHTTPSession session;
  testing::CountingRandom random;
  KLNetwork network{session, log, random};
  int successes = 0, failures = 0;
  std::optional<KLValue> response;
  std::optional<KLError> error;
};

TEST_F(KLNetworkTest, ParametersOfAGetGoIntoTheQuery) {
  const KLValue parameters(KLObject{{"b", 1}, {"a", "x y"}});
  const std::pair<const char*, const char*> urls[] = {
      {"http://host/path", "http://host/path?a=x%20y&b=1"},
      {"http://host/path?v=1", "http://host/path?v=1&a=x%20y&b=1"},
  };
  for (const auto method : {KLHTTPMethod::GET, KLHTTPMethod::HEAD, KLHTTPMethod::DELETE}) {
    for (const auto& [url, expected] : urls) {
      const auto request = network.requestWith(url, method, &parameters);
      EXPECT_EQ(request.url, expected);
      EXPECT_TRUE(request.body.empty());
      EXPECT_EQ(request.headers, (KLHTTPHeaders{{"Content-Type", "application/json"}}));
      EXPECT_EQ(request.timeoutSeconds, 30);
    }
  }
  const KLValue none{KLObject{}};
  EXPECT_EQ(network.requestWith("http://host/path", KLHTTPMethod::GET, &none).url, "http://host/path");
}

TEST_F(KLNetworkTest, ParametersOfAPostBecomeAPlainJSONBody) {
  const KLValue parameters(KLObject{{"a", 1}});
  const auto request = network.requestWith("http://host/path", KLHTTPMethod::POST, &parameters);
  EXPECT_EQ(request.url, "http://host/path");
  EXPECT_EQ(text(request.body), "{\"a\":1}");
  EXPECT_EQ(request.headers, (KLHTTPHeaders{{"Content-Type", "application/json"}}));
  EXPECT_FALSE(network.shouldEncryptRequest(request));

  const auto bare = network.requestWith("http://host/path", KLHTTPMethod::POST, nullptr);
  EXPECT_TRUE(bare.body.empty());
  EXPECT_TRUE(bare.headers.empty());
  const KLValue noJSON(KLObject{{"a", KLDate{1}}});
  EXPECT_TRUE(network.requestWith("http://host/path", KLHTTPMethod::POST, &noJSON).body.empty());
}

TEST_F(KLNetworkTest, MethodsHaveTheirNamesAndUnknownOnesAreGets) {
  const std::pair<int, const char*> methods[] = {{0, "GET"},    {1, "POST"},    {2, "HEAD"},   {3, "CONNECT"},
                                                 {4, "DELETE"}, {5, "OPTIONS"}, {6, "PATCH"},  {7, "PUT"},
                                                 {8, "TRACE"},  {9, "GET"},     {1000, "GET"}, {-1, "GET"}};
  for (const auto& [method, name] : methods) {
    EXPECT_EQ(network.requestWith("http://host", static_cast<KLHTTPMethod>(method), nullptr).method, name);
  }
}

TEST_F(KLNetworkTest, A200IsASuccessWhateverItsBody) {
  get();
  EXPECT_EQ(session.size(), 1u);
  answer("{\"a\":[1]}");
  EXPECT_EQ(response, KLValue(KLObject{{"a", KLValue::Array{1}}}));
  for (const char* body : {"no JSON", "", "\"a bare text\"", "12"}) {
    get();
    response = KLValue(1);
    answer(body);
    EXPECT_FALSE(response.has_value()) << body;
  }
  EXPECT_EQ(successes, 5);
  EXPECT_EQ(failures, 0);
  EXPECT_TRUE(host.log->lines().empty());
}

TEST_F(KLNetworkTest, OtherStatusesFailWithoutAnErrorAndTransportFailuresWithTheirs) {
  for (const int status : {201, 204, 404, 500}) {
    get();
    error = KLError{};
    answer("{}", {}, status);
    EXPECT_FALSE(error.has_value()) << status;
  }
  get();
  const KLError timedOut{kKLTransportErrorDomain, 28, "timed out"};
  session.fail(session.size() - 1, timedOut);
  EXPECT_EQ(error, timedOut);
  EXPECT_EQ(failures, 5);
  EXPECT_EQ(successes, 0);
}

TEST_F(KLNetworkTest, MissingCallbacksAreNoFault) {
  network.GET("http://host", nullptr, nullptr, nullptr);
  EXPECT_NO_THROW(answer("{}"));
  network.POST("http://host", nullptr, nullptr, nullptr);
  EXPECT_EQ(session[1].request.method, "POST");
  EXPECT_NO_THROW(answer("{}", {}, 500));
}

TEST_F(KLNetworkTest, AnEncryptedAnswerIsDecryptedWhereTheServerSaysSo) {
  get();
  answer(envelopeOf("{\"plain\":1}"), {{"quillon-encryption-enabled", "1"}});
  EXPECT_EQ(response, KLValue(KLObject{{"plain", 1}}));
}

TEST_F(KLNetworkTest, WithoutTheHeaderOrAPayloadTheAnswerIsTakenAsItIs) {
  const std::pair<const char*, KLHTTPHeaders> answers[] = {
      {R"({"payload":"AAAA"})", {}},
      {R"({"payload":"AAAA"})", {{"Quillon-Encryption-Enabled", "0"}}},
      {R"({"payload":"AAAA"})", {{"Quillon-Encryption-Enabled", "11"}}},
      {R"({"payload":7})", {{"Quillon-Encryption-Enabled", "1"}}},
      {R"({"other":7})", {{"Quillon-Encryption-Enabled", "1"}}},
      {R"(["payload"])", {{"Quillon-Encryption-Enabled", "1"}}},
  };
  for (const auto& [body, headers] : answers) {
    get();
    answer(body, headers);
    EXPECT_EQ(response, KLJSON::parse(body)) << body;
  }
  EXPECT_TRUE(host.log->lines().empty());
}

TEST_F(KLNetworkTest, AnAnswerThatDoesNotDecryptIsASuccessWithoutAnObject) {
  get();
  response = KLValue(1);
  answer(R"({"payload":"AAAA"})", {{"Quillon-Encryption-Enabled", "1"}});
  EXPECT_EQ(successes, 1);
  EXPECT_FALSE(response.has_value());
  EXPECT_EQ(host.log->messages(4), std::vector<std::string>{"response data is nil"});
}

}  // namespace
}  // namespace kaleo
