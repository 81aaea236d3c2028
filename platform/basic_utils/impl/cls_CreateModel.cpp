#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/uti_OutputFile.h>

void cls_CreateModel(const cow_String& file, const cls_Database::Options& options,
                     const std::function<void(const cls_Database& model, cls_WritePass& pass)>& fill) {
  if (file == ":memory:") throw nex_TextException(file + ": a model needs a file of another name");
  uti_OutputFile output(file, {.isModel = true});
  try {
    cls_Database model = cls_Database::Create(output.Path(), options);
    cls_WritePass pass(model);
    fill(model, pass);
    pass.Commit();
  } catch (const nex_TextException& failure) {
    cow_String message = failure.Message();
    if (!message.starts_with(output.Path())) throw;
    throw nex_TextException(message.replace(0, output.Path().size(), file));
  }
  output.Commit(); // the model is closed: nothing open is renamed
}
