// The page that shows the outside of a mesh. The data stand in the page: facts as JSON, arrays in base 64.
(function () {
  'use strict';
  const byId = id => document.getElementById(id);
  const facts = JSON.parse(byId('facts').textContent);
  const types = { f: Float32Array, i: Int32Array, u: Uint32Array, h: Uint16Array, b: Uint8Array };

  function fromBase64(text) {
    const raw = atob(text), bytes = new Uint8Array(raw.length);
    for (let i = 0; i < raw.length; ++i) bytes[i] = raw.charCodeAt(i);
    return bytes;
  }
  /// The array of that name, whose kind is the letter before its name. The page forgets the text.
  function array(name) {
    const element = byId(name), bytes = fromBase64(element.textContent);
    element.remove();
    const Type = types[element.dataset.kind];
    return new Type(bytes.buffer, 0, bytes.length / Type.BYTES_PER_ELEMENT);
  }

  // ---- vertices: the nodes, then the corners of the faces and lines of classes where neighbours share no values,
  // then middles of faces
  const nodes = array('xyz'), nodeLabels = array('nodeLabels'), numNodes = nodeLabels.length;
  const frames = facts.frames, hasValues = frames.some(frame => frame.place !== null);
  const isSplit = frames.some(frame => frame.place === 'corners' || frame.place === 'faces');
  const parts = {};
  for (const name of ['classes', 'sets'])
    parts[name] = {
      groups: facts[name], sizes: array(name + '.sizes'), corners: array(name + '.corners'), nodes: array(name + '.nodes'),
      labels: array(name + '.labels'), owners: array(name + '.owners'), lineSizes: array(name + '.lineSizes'),
      lineNodes: array(name + '.lineNodes'), lineLabels: array(name + '.lineLabels'),
      lineOwners: array(name + '.lineOwners'), points: array(name + '.points')
    };
  function starts(sizes) {
    const first = new Uint32Array(sizes.length + 1);
    for (let i = 0; i < sizes.length; ++i) first[i + 1] = first[i] + sizes[i];
    return first;
  }
  for (const part of Object.values(parts)) {
    part.first = starts(part.sizes);
    part.lineFirst = starts(part.lineSizes);
    part.base = part.lineBase = -1; // vertices are nodes
  }
  let numVertices = numNodes;
  if (isSplit) {
    parts.classes.base = numVertices;
    parts.classes.lineBase = numVertices + parts.classes.nodes.length;
    numVertices = parts.classes.lineBase + parts.classes.lineNodes.length;
  }
  const firstCentre = numVertices;
  const hasMiddles = (size, corners) => corners > 2 && size >= 2 * corners;
  /// A vertex in the middle of a face that has no node there; faces of four nodes need it for their values alone.
  function needsCentre(size, corners) {
    const isRound = hasMiddles(size, corners);
    if (corners === 3) return false;
    return isRound ? size === 2 * corners : hasValues || corners > 4;
  }
  for (const part of Object.values(parts))
    for (let f = 0; f < part.sizes.length; ++f) numVertices += needsCentre(part.sizes[f], part.corners[f]) ? 1 : 0;

  const centres = []; // of each: first vertex or node, and what the part of the face is
  const vertexOf = (part, place) => part.base < 0 ? part.nodes[place] : part.base + place;
  const lineVertexOf = (part, place) => part.lineBase < 0 ? part.lineNodes[place] : part.lineBase + place;
  let nextCentre = firstCentre;

  /// The triangles of some faces, and the face of each triangle.
  function triangles(part, from, to) {
    const index = [], faceOf = [];
    for (let f = from; f < to; ++f) {
      const size = part.sizes[f], corners = part.corners[f], first = part.first[f], rim = [];
      const isRound = hasMiddles(size, corners);
      for (let k = 0; k < corners; ++k) {
        rim.push(vertexOf(part, first + k));
        if (isRound) rim.push(vertexOf(part, first + corners + k));
      }
      const before = index.length;
      if (rim.length === 3) index.push(rim[0], rim[1], rim[2]);
      else if (corners === 3) {
        for (const k of [0, 2, 4]) index.push(rim[k], rim[k + 1], rim[(k + 5) % 6]);
        index.push(rim[1], rim[3], rim[5]);
      } else if (needsCentre(size, corners) || isRound) {
        let centre = vertexOf(part, first + 2 * corners);
        if (needsCentre(size, corners)) {
          centre = nextCentre++;
          centres.push({ part, first, corners, isRound });
        }
        for (let k = 0; k < rim.length; ++k) index.push(centre, rim[k], rim[(k + 1) % rim.length]);
      } else
        index.push(rim[0], rim[1], rim[2], rim[0], rim[2], rim[3]);
      for (let k = before; k < index.length; k += 3) faceOf.push(f);
    }
    return { index: Uint32Array.from(index), faceOf: Uint32Array.from(faceOf) };
  }

  /// Sets `width` numbers of every vertex from those of the nodes.
  function spread(ofNodes, target, width) {
    target.set(ofNodes);
    if (isSplit)
      for (const [list, base] of [[parts.classes.nodes, parts.classes.base], [parts.classes.lineNodes, parts.classes.lineBase]])
        for (let i = 0; i < list.length; ++i)
          for (let k = 0; k < width; ++k) target[width * (base + i) + k] = ofNodes[width * list[i] + k];
    fillCentres(target, width);
  }
  /// What the shape functions make of the values at the nodes.
  function fillCentres(target, width) {
    centres.forEach(({ part, first, corners, isRound }, i) => {
      for (let k = 0; k < width; ++k) {
        let sum = 0;
        for (let c = 0; c < corners; ++c) {
          sum += target[width * vertexOf(part, first + c) + k] * (isRound ? -0.25 : 1 / corners);
          if (isRound) sum += target[width * vertexOf(part, first + corners + c) + k] * 0.5;
        }
        target[width * (firstCentre + i) + k] = sum;
      }
    });
  }

  // ---- what is drawn
  const scene = new THREE.Scene(), world = byId('scene');
  let renderer;
  try {
    renderer = new THREE.WebGLRenderer({ antialias: true, alpha: true });
  } catch (failure) {
    byId('failure').hidden = false;
    byId('failure').textContent = 'This page needs WebGL, which this browser does not offer.';
    return;
  }
  renderer.setPixelRatio(window.devicePixelRatio);
  world.appendChild(renderer.domElement);

  const table = fromBase64(facts.scale.table);
  const tableTexture = new THREE.DataTexture(table, 256, 1, THREE.RGBFormat);
  tableTexture.minFilter = tableTexture.magFilter = THREE.LinearFilter;
  tableTexture.needsUpdate = true;
  const shared = {
    table: { value: tableTexture }, bands: { value: facts.scale.bands },
    fixedLow: { value: facts.scale.fixedLow }, fixedHigh: { value: facts.scale.fixedHigh }
  };
  const vertexShader = `
    uniform float dotSize; // pixels, 0 for faces and lines
    attribute vec2 value; // its place between the bounds, and whether it is missing
    varying vec2 shown;
    varying vec3 seen;
    void main() {
      vec4 at = modelViewMatrix * vec4(position, 1.0);
      seen = at.xyz;
      shown = value;
      gl_PointSize = dotSize;
      gl_Position = projectionMatrix * at;
    }`;
  const fragmentShader = `
    precision highp float;
    uniform vec3 colour;
    uniform bool hasValues, isFlat, fixedLow, fixedHigh;
    uniform float bands, dotSize;
    uniform sampler2D table;
    varying vec2 shown;
    varying vec3 seen;
    vec3 ofValue(float t) {
      if (shown.y > 1e-4) return vec3(0.6);
      if (fixedLow && t < -1e-5) return vec3(0.35);
      if (fixedHigh && t > 1.00001) return vec3(0.85);
      t = clamp(t, 0.0, 1.0);
      if (bands > 0.5) t = (min(floor(t * bands), bands - 1.0) + 0.5) / bands;
      return texture2D(table, vec2((255.0 * t + 0.5) / 256.0, 0.5)).rgb;
    }
    void main() {
      if (dotSize > 0.0 && length(gl_PointCoord - 0.5) > 0.5) discard;
      vec3 own = hasValues ? ofValue(shown.x) : colour;
      float shade = 1.0;
      if (!isFlat) {
        vec3 normal = normalize(cross(dFdx(seen), dFdy(seen)));
        float facing = abs(normal.z);
        float light = abs(dot(normal, normalize(vec3(-0.45, 0.65, 0.9))));
        shade = hasValues ? 0.7 + 0.3 * facing : 0.6 + 0.1 * facing + 0.35 * light;
      }
      gl_FragColor = vec4(own * shade, 1.0);
    }`;
  function material(colour, withValues, isFlat, offset) {
    return new THREE.ShaderMaterial({
      uniforms: Object.assign({ colour: { value: new THREE.Vector3(...colour) }, hasValues: { value: withValues },
        isFlat: { value: isFlat }, dotSize: { value: 0 } }, shared),
      vertexShader, fragmentShader, side: THREE.DoubleSide, extensions: { derivatives: true },
      polygonOffset: offset !== 0, polygonOffsetFactor: offset, polygonOffsetUnits: offset
    });
  }

  /// Round dots over everything.
  function dotMaterial(colour, size) {
    const dots = material(colour, false, true, 0);
    dots.uniforms.dotSize.value = size * window.devicePixelRatio;
    dots.depthTest = false;
    return dots;
  }

  const position = new THREE.BufferAttribute(new Float32Array(3 * numVertices), 3);
  const value = new THREE.BufferAttribute(new Float32Array(2 * numVertices), 2);
  const undeformed = new THREE.BufferAttribute(nodes, 3);
  for (const attribute of [position, value]) attribute.usage = THREE.DynamicDrawUsage;
  function geometry(index, positions) {
    const made = new THREE.BufferGeometry();
    made.setAttribute('position', positions || position);
    if (!positions) made.setAttribute('value', value);
    made.setIndex(new THREE.BufferAttribute(index, 1));
    return made;
  }
  function put(object) {
    object.frustumCulled = false; // the shape moves
    scene.add(object);
    return object;
  }
  function indexOfLines(part, from, to) {
    const index = [], lineOf = [];
    for (let i = from; i < to; ++i)
      for (let k = part.lineFirst[i]; k + 1 < part.lineFirst[i + 1]; ++k) {
        index.push(lineVertexOf(part, k), lineVertexOf(part, k + 1));
        lineOf.push(i);
      }
    return { index: Uint32Array.from(index), lineOf: Uint32Array.from(lineOf) };
  }
  /// Objects of each group: at most one of faces, one of lines and one of points.
  const groups = [];
  for (const [name, part] of Object.entries(parts)) {
    const isClass = name === 'classes';
    part.groups.forEach((group, i) => {
      const withValues = isClass && hasValues, made = { group, part, isClass, i, objects: [], isShown: group.isShown };
      made.faces = triangles(part, group.faces[0], group.faces[1]);
      if (made.faces.index.length)
        made.objects.push(put(new THREE.Mesh(geometry(made.faces.index), material(group.colour, withValues, false, isClass ? 2 : 1))));
      made.lines = indexOfLines(part, group.lines[0], group.lines[1]);
      if (made.lines.index.length)
        made.objects.push(put(new THREE.LineSegments(geometry(made.lines.index), material(group.colour.map(c => 0.75 * c), withValues, true, 0))));
      const points = part.points.slice(group.points[0], group.points[1]);
      if (points.length) {
        made.objects.push(put(new THREE.Points(geometry(points), dotMaterial(group.colour.map(c => 0.8 * c), 7))));
        made.objects[made.objects.length - 1].renderOrder = 1;
      }
      groups.push(made);
    });
  }

  const edgeEnds = array('edgeEnds'), edgeMiddles = array('edgeMiddles');
  const lineMaterial = (colour, opacity) => new THREE.LineBasicMaterial({ color: colour, opacity, transparent: opacity < 1 });
  const featureLines = put(new THREE.LineSegments(geometry(new Uint32Array(0)), lineMaterial(0x1a1f29, 1)));
  const edgeLines = put(new THREE.LineSegments(geometry(new Uint32Array(0)), lineMaterial(0x333a46, 0.45)));
  const outline = put(new THREE.LineSegments(geometry(new Uint32Array(0), undeformed), lineMaterial(0x8b919a, 1)));
  outline.visible = false;
  function edgeIndex(first, last, index) {
    for (let e = first; e < last; ++e) {
      const [a, b, middle] = [edgeEnds[2 * e], edgeEnds[2 * e + 1], edgeMiddles[e]];
      if (middle < 0) index.push(a, b);
      else index.push(a, middle, middle, b);
    }
  }
  function updateEdges() {
    const features = [], others = [];
    for (const { group, isClass, isShown } of groups)
      if (isClass && isShown) {
        edgeIndex(group.edges[0], group.edges[1], features);
        edgeIndex(group.edges[1], group.edges[2], others);
      }
    for (const [lines, index] of [[featureLines, features], [edgeLines, others], [outline, features]])
      lines.geometry.setIndex(new THREE.BufferAttribute(Uint32Array.from(index), 1));
    featureLines.visible = byId('features').checked;
    edgeLines.visible = byId('edges').checked;
    redraw();
  }

  // ---- frames and displacement
  const shape = new Float32Array(3 * numVertices), shift = new Float32Array(3 * numVertices);
  const values = new Float32Array(numVertices);
  spread(nodes, shape, 3);
  position.array.set(shape);
  const arrays = {}; // of frames that were shown
  const ofFrame = name => arrays[name] || (arrays[name] = array(name));
  let frame = 0, factor = facts.factor;

  function valuesOfFrame() {
    const { place } = frames[frame];
    values.fill(NaN);
    if (place === null) return;
    const given = ofFrame('f' + frame + '.values');
    if (place === 'nodes') {
      spread(given, values, 1);
      return;
    }
    const part = parts.classes, rows = [[part.first, part.base, part.sizes.length], [part.lineFirst, part.lineBase, part.lineSizes.length]];
    let at = 0;
    for (const [first, base, count] of rows)
      for (let i = 0; i < count; ++i) {
        for (let k = first[i]; k < first[i + 1]; ++k) values[base + k] = given[place === 'faces' ? at : at++];
        if (place === 'faces') ++at;
      }
    fillCentres(values, 1);
  }
  function updateValues() {
    if (!hasValues) return;
    valuesOfFrame();
    const { low, high } = facts.scale, t = value.array;
    for (let v = 0; v < numVertices; ++v) {
      const isMissing = Number.isNaN(values[v]);
      t[2 * v] = isMissing ? 0 : low < high ? Math.min(1e9, Math.max(-1e9, (values[v] - low) / (high - low))) : 0.5;
      t[2 * v + 1] = isMissing ? 1 : 0;
    }
    value.needsUpdate = true;
  }
  function updateShape() {
    const has = frames.length > 0 && frames[frame].hasDisplacement;
    if (has) spread(ofFrame('f' + frame + '.displacement'), shift, 3);
    for (let i = 0; i < shape.length; ++i) position.array[i] = has ? shape[i] + factor * shift[i] : shape[i];
    position.needsUpdate = true;
    outline.visible = has && byId('undeformed').checked;
    redraw();
  }
  /// Where the values of the frame are largest and least.
  function extremes() {
    let least = -1, most = -1, missing = false;
    const owners = [];
    for (const { faces, lines, isClass, part } of groups) {
      if (!isClass) continue;
      for (const [index, of, labels, size] of [[faces.index, faces.faceOf, part.labels, 3], [lines.index, lines.lineOf, part.lineLabels, 2]])
        for (let i = 0; i < index.length; ++i) {
          const v = index[i];
          if (Number.isNaN(values[v])) missing = true;
          if (v >= firstCentre || !Number.isFinite(values[v])) continue;
          if (least < 0 || values[v] < values[least]) { least = v; owners[0] = labels[of[Math.floor(i / size)]]; }
          if (most < 0 || values[v] > values[most]) { most = v; owners[1] = labels[of[Math.floor(i / size)]]; }
        }
    }
    return { least, most, owners, missing };
  }

  // ---- texts
  function number(x, digits = 3) {
    if (!Number.isFinite(x)) return Number.isNaN(x) ? 'no value' : x > 0 ? '∞' : '−∞';
    if (x === 0) return '0';
    const text = x.toExponential(digits - 1), power = Number(text.slice(text.indexOf('e') + 1));
    const plain = power >= -3 && power < 6 ? Number(text).toFixed(Math.max(0, digits - 1 - power)) : text.replace('e+', 'e');
    return plain.replace('-', '−');
  }
  /// All digits that single precision has for certain.
  const exact = x => Number.isFinite(x) ? String(Number(x.toPrecision(6))) : number(x);
  function colourAt(t) {
    if (facts.scale.bands > 0) t = (Math.min(facts.scale.bands - 1, Math.floor(t * facts.scale.bands)) + 0.5) / facts.scale.bands;
    const first = Math.min(254, Math.floor(255 * t)), part = 255 * t - first;
    return [0, 1, 2].map(k => Math.round(table[3 * first + k] * (1 - part) + table[3 * first + 3 + k] * part));
  }
  function swatch(colour, text) {
    const row = document.createElement('div'), box = document.createElement('span'), name = document.createElement('span');
    row.className = 'line text';
    box.className = 'swatch';
    box.style.background = 'rgb(' + colour.map(c => Math.round(255 * c)).join() + ')';
    name.textContent = text;
    row.append(box, name);
    return row;
  }
  function fillBar() {
    const { low, high, bands } = facts.scale, bar = byId('bar').getContext('2d');
    for (let y = 0; y < 256; ++y) {
      bar.fillStyle = 'rgb(' + colourAt(low < high ? 1 - (y + 0.5) / 256 : 0.5).join() + ')';
      bar.fillRect(0, y, 1, 1);
    }
    const pieces = low < high ? (bands > 0 ? bands : 8) : 0, height = byId('scale').clientHeight || 260;
    let stride = 1;
    while (pieces % stride || pieces / stride > height / 18) ++stride;
    const at = i => pieces ? low * (1 - i / pieces) + high * (i / pieces) : low;
    let digits = 3;
    const texts = () => Array.from({ length: pieces + 1 }, (_, i) => number(at(i), digits));
    while (digits < 12 && new Set(texts()).size <= pieces) ++digits;
    byId('bounds').replaceChildren(...texts().flatMap((text, i) => {
      if (i % stride) return [];
      const label = document.createElement('span');
      label.style.bottom = 100 * (pieces ? i / pieces : 0.5) + '%';
      label.textContent = text;
      return [label];
    }));
  }
  function updateLegend() {
    if (!hasValues) return;
    const { name, frame: always } = facts.legend, { least, most, owners, missing } = extremes();
    byId('fieldName').textContent = name;
    byId('fieldFrame').textContent = [always, frames[frame].text].filter(Boolean).join('\n');
    const place = (v, owner) => isSplit ? 'element ' + owner : 'node ' + nodeLabels[v];
    byId('extremes').textContent = most < 0 ? 'No values are shown' :
      'max ' + number(values[most]) + ' at ' + place(most, owners[1]) + '\nmin ' + number(values[least]) + ' at ' + place(least, owners[0]);
    const greys = [];
    if (facts.scale.fixedHigh) greys.push(swatch([0.85, 0.85, 0.85], 'above'));
    if (facts.scale.fixedLow) greys.push(swatch([0.35, 0.35, 0.35], 'below'));
    if (missing) greys.push(swatch([0.6, 0.6, 0.6], 'no value'));
    byId('greys').replaceChildren(...greys);
  }

  // ---- camera
  const camera = new THREE.OrthographicCamera(-1, 1, 1, -1, 0, 1);
  camera.up.set(0, 0, 1);
  const controls = new THREE.OrbitControls(camera, renderer.domElement);
  controls.screenSpacePanning = true;
  controls.addEventListener('change', redraw);
  function shownBox() {
    const box = new THREE.Box3(), at = new THREE.Vector3();
    const add = index => { for (const v of index) box.expandByPoint(at.fromArray(position.array, 3 * v)); };
    for (const { faces, lines, isShown } of groups)
      if (isShown) { add(faces.index); add(lines.index); }
    if (box.isEmpty()) for (let v = 0; v < numNodes; ++v) box.expandByPoint(at.fromArray(position.array, 3 * v));
    return box;
  }
  let reach = 1; // half of what the camera sees in the shorter direction
  function look(direction) {
    const box = shownBox(), centre = box.getCenter(new THREE.Vector3()), size = box.getSize(new THREE.Vector3()).length() || 1;
    controls.target.copy(centre);
    camera.position.copy(centre).addScaledVector(new THREE.Vector3(...direction).normalize(), 2 * size);
    camera.near = -8 * size;
    camera.far = 12 * size;
    camera.zoom = 1;
    controls.update();
    camera.updateMatrixWorld();
    // the corners of the box as the camera sees them
    let across = 0, up = 0;
    for (let i = 0; i < 8; ++i) {
      const corner = new THREE.Vector3(i & 1 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y, i & 4 ? box.max.z : box.min.z);
      corner.applyMatrix4(camera.matrixWorldInverse.getInverse(camera.matrixWorld));
      across = Math.max(across, Math.abs(corner.x));
      up = Math.max(up, Math.abs(corner.y));
    }
    const width = world.clientWidth, height = world.clientHeight, free = Math.max(0.3, (width - 560) / width);
    reach = 1.1 * Math.max(up, across / free * height / width) || 1;
    resize();
  }
  function resize() {
    const width = world.clientWidth || 1, height = world.clientHeight || 1;
    renderer.setSize(width, height);
    camera.top = reach;
    camera.bottom = -reach;
    camera.right = reach * width / height;
    camera.left = -camera.right;
    camera.updateProjectionMatrix();
    redraw();
  }
  let isAsked = false;
  function redraw() {
    if (isAsked) return;
    isAsked = true;
    requestAnimationFrame(() => {
      isAsked = false;
      renderer.render(scene, camera);
      drawTriad();
    });
  }
  function drawTriad() {
    const svg = byId('triad');
    const turned = [[1, 0, 0], [0, 1, 0], [0, 0, 1]].map((axis, i) => {
      const at = new THREE.Vector3(...axis).transformDirection(camera.matrixWorldInverse);
      return { at, colour: ['#cc2626', '#1a8c26', '#264dcc'][i], name: 'XYZ'[i] };
    }).sort((a, b) => a.at.z - b.at.z);
    svg.innerHTML = turned.map(({ at, colour, name }) =>
      `<line x1="0" y1="0" x2="${30 * at.x}" y2="${-30 * at.y}" stroke="${colour}" stroke-width="2.5" stroke-linecap="round"/>` +
      `<text x="${40 * at.x}" y="${-40 * at.y + 4}" fill="${colour}">${name}</text>`).join('');
  }

  // ---- a click
  const marks = new THREE.BufferGeometry();
  marks.setAttribute('position', new THREE.BufferAttribute(new Float32Array(3), 3));
  const mark = put(new THREE.Points(marks, dotMaterial([0.83, 0.09, 0.18], 10)));
  mark.visible = false;
  mark.renderOrder = 2;
  /// What is seen at a place from -1 to 1: the nearest triangle there, else a line within a few pixels.
  function pick(x, y) {
    const matrix = new THREE.Matrix4().multiplyMatrices(camera.projectionMatrix, camera.matrixWorldInverse).elements;
    const xyz = position.array, at = new Float64Array(9);
    const project = (v, k) => {
      const [px, py, pz] = [xyz[3 * v], xyz[3 * v + 1], xyz[3 * v + 2]];
      for (let row = 0; row < 3; ++row) at[3 * k + row] = matrix[row] * px + matrix[4 + row] * py + matrix[8 + row] * pz + matrix[12 + row];
    };
    let best = null;
    for (const made of groups) {
      if (!made.isShown) continue;
      const { index, faceOf } = made.faces;
      for (let i = 0; i < index.length; i += 3) {
        for (let k = 0; k < 3; ++k) project(index[i + k], k);
        const area = (at[3] - at[0]) * (at[7] - at[1]) - (at[4] - at[1]) * (at[6] - at[0]);
        const b = ((x - at[0]) * (at[7] - at[1]) - (y - at[1]) * (at[6] - at[0])) / area;
        const c = ((at[3] - at[0]) * (y - at[1]) - (at[4] - at[1]) * (x - at[0])) / area, a = 1 - b - c;
        if (!(a >= 0 && b >= 0 && c >= 0)) continue;
        const depth = a * at[2] + b * at[5] + c * at[8];
        if (!best || depth < best.depth) best = { made, depth, face: faceOf[i / 3], corners: [index[i], index[i + 1], index[i + 2]], weights: [a, b, c] };
      }
    }
    if (best) return best;
    let nearest = 6; // pixels
    for (const made of groups) {
      if (!made.isShown) continue;
      const { index, lineOf } = made.lines;
      for (let i = 0; i < index.length; i += 2) {
        for (let k = 0; k < 2; ++k) project(index[i + k], k);
        const width = world.clientWidth / 2, height = world.clientHeight / 2;
        const [dx, dy] = [(at[3] - at[0]) * width, (at[4] - at[1]) * height], [ox, oy] = [(x - at[0]) * width, (y - at[1]) * height];
        const t = Math.min(1, Math.max(0, (ox * dx + oy * dy) / (dx * dx + dy * dy || 1)));
        const distance = Math.hypot(ox - t * dx, oy - t * dy);
        if (distance < nearest) {
          nearest = distance;
          best = { made, line: lineOf[i / 2], corners: [index[i], index[i + 1]], weights: [1 - t, t] };
        }
      }
    }
    return best;
  }
  function tell(hit) {
    byId('picked').hidden = !hit;
    mark.visible = !!hit;
    redraw();
    if (!hit) return;
    const { made: { part, group, isClass } } = hit, isLine = hit.line !== undefined;
    const first = isLine ? part.lineFirst[hit.line] : part.first[hit.face];
    const size = isLine ? part.lineSizes[hit.line] : part.sizes[hit.face], list = isLine ? part.lineNodes : part.nodes;
    const sum = (array, width, k) => hit.corners.reduce((total, v, i) => total + hit.weights[i] * array[width * v + k], 0);
    const here = [0, 1, 2].map(k => sum(position.array, 3, k));
    let nearest = -1, least = Infinity;
    for (let k = first; k < first + size; ++k) {
      const v = list[k], distance = Math.hypot(...[0, 1, 2].map(i => position.array[3 * v + i] - here[i]));
      if (distance < least) { least = distance; nearest = k; }
    }
    const node = list[nearest], own = isLine ? lineVertexOf(part, nearest) : vertexOf(part, nearest);
    const owner = (isLine ? part.lineOwners[hit.line] : part.owners[hit.face]);
    const rows = [['Element', isLine ? part.lineLabels[hit.line] : part.labels[hit.face]], ['Class', facts.classes[owner].name]];
    if (!isClass) rows.push(['Set', group.name]);
    rows.push(['Nearest node', nodeLabels[node]], ['at', [0, 1, 2].map(k => exact(nodes[3 * node + k])).join(', ')]);
    if (hasValues && isClass) {
      if (frames[frame].place === 'faces') rows.push(['Value', exact(values[own])]);
      else rows.push(['Value here', exact(sum(values, 1, 0))], ['at the node', exact(values[own])]);
    }
    if (frames.length && frames[frame].hasDisplacement)
      rows.push(['Displacement', [0, 1, 2].map(k => exact(shift[3 * node + k])).join(', ')]);
    byId('facts-list').replaceChildren(...rows.flatMap(([what, text]) => {
      const [term, fact] = [document.createElement('dt'), document.createElement('dd')];
      term.textContent = what;
      fact.textContent = text;
      return [term, fact];
    }));
    marks.attributes.position.array.set([0, 1, 2].map(k => position.array[3 * node + k]));
    marks.attributes.position.needsUpdate = true;
  }
  let pressed = null, picked = null;
  renderer.domElement.addEventListener('pointerdown', event => { pressed = [event.clientX, event.clientY]; });
  renderer.domElement.addEventListener('pointerup', event => {
    if (!pressed || event.button !== 0 || Math.hypot(event.clientX - pressed[0], event.clientY - pressed[1]) > 4) return;
    const box = renderer.domElement.getBoundingClientRect();
    picked = pick(2 * (event.clientX - box.left) / box.width - 1, 1 - 2 * (event.clientY - box.top) / box.height);
    tell(picked);
  });

  // ---- panels
  function showFrame(i) {
    frame = i;
    byId('frame').value = i;
    byId('frameText').textContent = frames[i].text;
    updateValues();
    updateShape();
    updateLegend();
    tell(picked);
  }
  function addRow(where, text, colour, isOn, change) {
    const row = document.createElement('label'), box = document.createElement('input'), name = document.createElement('span');
    row.className = 'row';
    box.type = 'checkbox';
    box.checked = isOn;
    box.addEventListener('change', () => change(box.checked));
    name.textContent = text;
    const swatchBox = document.createElement('span');
    swatchBox.className = 'swatch';
    swatchBox.style.background = 'rgb(' + colour.map(c => Math.round(255 * c)).join() + ')';
    row.append(box, swatchBox, name);
    where.append(row);
  }
  byId('title').textContent = document.title = facts.title;
  byId('summary').textContent = facts.summary;
  for (const made of groups) {
    const show = isOn => {
      made.isShown = isOn;
      for (const object of made.objects) object.visible = isOn;
      updateEdges();
    };
    addRow(byId(made.isClass ? 'classes' : 'sets'), made.group.name, made.group.colour, made.isShown, show);
    for (const object of made.objects) object.visible = made.isShown;
  }
  byId('setsPart').hidden = facts.sets.length === 0;
  const directions = { Iso: [1, -1.5, 1], '+X': [1, 0, 0], '−X': [-1, 0, 0], '+Y': [0, 1, 0], '−Y': [0, -1, 0], '+Z': [0, 0, 1], '−Z': [0, 0, -1] };
  for (const [name, direction] of Object.entries(directions)) {
    const button = document.createElement('button');
    button.textContent = name;
    button.addEventListener('click', () => look(direction));
    byId('views').append(button);
  }
  byId('features').addEventListener('change', updateEdges);
  byId('edges').checked = facts.hasMeshEdges;
  byId('edges').addEventListener('change', updateEdges);
  if (frames.length) {
    byId('results').hidden = false;
    byId('frames').hidden = frames.length < 2;
    byId('frame').max = frames.length - 1;
    byId('frame').addEventListener('input', () => showFrame(Number(byId('frame').value)));
    let timer = 0;
    byId('play').addEventListener('click', () => {
      byId('play').textContent = timer ? '▶' : '❚❚';
      if (timer) timer = clearInterval(timer);
      else timer = setInterval(() => showFrame((frame + 1) % frames.length), 1000 / facts.rate);
    });
    byId('deformation').hidden = !frames.some(one => one.hasDisplacement);
    const setFactor = x => {
      factor = x;
      updateShape();
      tell(picked);
    };
    byId('factor').value = factor;
    byId('factor').addEventListener('input', () => {
      if (byId('factor').value !== '' && Number.isFinite(byId('factor').valueAsNumber)) setFactor(byId('factor').valueAsNumber);
    });
    byId('factorSlider').addEventListener('input', () => {
      byId('factor').value = Number((facts.factor * byId('factorSlider').value / 100).toPrecision(6));
      setFactor(byId('factor').valueAsNumber);
    });
    byId('undeformed').addEventListener('change', updateShape);
    byId('legend').hidden = !hasValues;
    if (hasValues && facts.scale.low !== null) fillBar();
    byId('scale').hidden = facts.scale.low === null;
    showFrame(0);
  }
  updateEdges();
  look(facts.direction);
  window.addEventListener('resize', resize);
  document.body.dataset.state = 'ready';
})();
