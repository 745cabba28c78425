// Bundles the page's script (three.js and the library's WebAssembly module
// included) into the HTML template: one self-contained page, no other file.
//   node build.cjs CORE_JS TEMPLATE_HTML OUTPUT_HTML
// Packages come from NODE_PATH (the build's `npm ci` folder).
'use strict';
const fs = require('fs');
const path = require('path');
const esbuild = require('esbuild');

const SCRIPT_MARK = '/*@TOLVEX_VIEW_SCRIPT@*/';
const DATA_MARK = '"@TOLVEX_VIEW_DATA@"';

function occurrences(text, part) {
  return text.split(part).length - 1;
}

async function main() {
  const [corePath, templatePath, outputPath] = process.argv.slice(2);
  if (!outputPath) throw new Error('usage: node build.cjs CORE_JS TEMPLATE_HTML OUTPUT_HTML');
  const result = await esbuild.build({
    entryPoints: [path.join(__dirname, 'src', 'main.js')],
    bundle: true,
    minify: true,
    format: 'iife',
    target: 'es2020',
    legalComments: 'eof',
    alias: { 'tolvex-core': path.resolve(corePath) },
    nodePaths: (process.env.NODE_PATH || '').split(path.delimiter).filter(Boolean),
    write: false,
    logLevel: 'warning',
  });
  const script = result.outputFiles[0].text;
  if (/<\/script/i.test(script)) throw new Error('the bundled script holds "</script" and cannot be inlined');
  const template = fs.readFileSync(templatePath, 'utf8');
  if (occurrences(template, SCRIPT_MARK) !== 1 || occurrences(template, DATA_MARK) !== 1)
    throw new Error(`${templatePath}: each place mark must occur once`);
  const page = template.split(SCRIPT_MARK).join(script);
  if (occurrences(page, DATA_MARK) !== 1) throw new Error('the bundled script holds the data place mark');
  fs.writeFileSync(outputPath, page);
}

main().catch((error) => {
  console.error(`build.cjs: ${error.message}`);
  process.exit(1);
});
